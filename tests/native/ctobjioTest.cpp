// Data objects as named files, against the fake token: the creating
// templates, the search by class and label with its answer for an absent
// name, renaming, and the lengths that reading and writing report.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fakeCryptoki.h"
#include "morlin_util.h"

namespace {

using Bytes = std::vector<CK_BYTE>;

class Ctobjio : public ::testing::Test {
protected:
    void SetUp() override { fake::reset(); }

    static Bytes text(const char* s) { return Bytes(s, s + std::char_traits<char>::length(s)); }
    static Bytes ulong(CK_ULONG v) { return fake::Reply::raw(v); }
};

TEST_F(Ctobjio, CreatedObjectsAreTokenObjectsPrivateOrPublic) {
    fake::setDefault("C_CreateObject", fake::Reply().handle(9));
    CK_OBJECT_HANDLE object = 0;
    ASSERT_EQ(CT_CreateObject(1, CKO_DATA, "notes", &object), CKR_OK);
    EXPECT_EQ(object, 9u);
    ASSERT_EQ(CT_CreatePublicObject(1, CKO_CERTIFICATE, "cert", &object), CKR_OK);
    const std::vector<fake::Call> calls = fake::calls("C_CreateObject");
    ASSERT_EQ(calls.size(), 2u);
    const struct {
        CK_OBJECT_CLASS cls;
        const char* label;
        CK_BYTE isPrivate;
    } expected[] = {{CKO_DATA, "notes", 1}, {CKO_CERTIFICATE, "cert", 0}};
    for (size_t i = 0; i < 2; ++i) {
        const fake::Template& t = *calls[i].templates[0];
        ASSERT_EQ(t.size(), 4u);
        EXPECT_EQ(t[0].type, CKA_CLASS);
        EXPECT_EQ(t[0].value, ulong(expected[i].cls));
        EXPECT_EQ(t[1].type, CKA_LABEL);
        EXPECT_EQ(t[1].value, text(expected[i].label));  // no terminating NUL
        EXPECT_EQ(t[2].type, CKA_TOKEN);
        EXPECT_EQ(t[2].value, Bytes{1});
        EXPECT_EQ(t[3].type, CKA_PRIVATE);
        EXPECT_EQ(t[3].value, Bytes{expected[i].isPrivate});
    }
    fake::setDefault("C_CreateObject", fake::Reply().returns(CKR_SESSION_READ_ONLY));
    EXPECT_EQ(CT_CreateObject(1, CKO_DATA, "notes", &object), CKR_SESSION_READ_ONLY);
    EXPECT_EQ(CT_CreateObject(1, CKO_DATA, nullptr, &object), CKR_ARGUMENTS_BAD);
}

TEST_F(Ctobjio, OpeningAsksForOneHandleOfTheClassAndLabel) {
    fake::setDefault("C_FindObjects", fake::Reply().ulongs({31, 32}));
    CK_OBJECT_HANDLE object = 0;
    ASSERT_EQ(CT_OpenObject(2, CKO_DATA, "notes", &object), CKR_OK);
    EXPECT_EQ(object, 31u);  // the first the token gives
    const fake::Template t = *fake::last("C_FindObjectsInit")->templates[0];
    ASSERT_EQ(t.size(), 2u);
    EXPECT_EQ(t[0].value, ulong(CKO_DATA));
    EXPECT_EQ(t[1].value, text("notes"));
    EXPECT_EQ(fake::last("C_FindObjects")->scalars[1], 1u);  // at most one
    EXPECT_EQ(fake::count("C_FindObjectsFinal"), 1u);

    // Absent: a general error, after one search only (no second try with
    // the NUL), and the search closed.
    fake::reset();
    fake::setDefault("C_FindObjects", fake::Reply().ulongs({}));
    EXPECT_EQ(CT_OpenObject(2, CKO_DATA, "nothing", &object), CKR_GENERAL_ERROR);
    EXPECT_EQ(fake::count("C_FindObjectsInit"), 1u);
    EXPECT_EQ(fake::count("C_FindObjectsFinal"), 1u);

    // The first failing call ends it; a failed search stays open.
    fake::reset();
    fake::setDefault("C_FindObjects", fake::Reply().returns(CKR_OPERATION_NOT_INITIALIZED));
    EXPECT_EQ(CT_OpenObject(2, CKO_DATA, "notes", &object), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_EQ(fake::count("C_FindObjectsFinal"), 0u);
    fake::reset();
    fake::setDefault("C_FindObjectsInit", fake::Reply().returns(CKR_OPERATION_ACTIVE));
    EXPECT_EQ(CT_OpenObject(2, CKO_DATA, "notes", &object), CKR_OPERATION_ACTIVE);
    EXPECT_EQ(fake::count("C_FindObjects"), 0u);
}

TEST_F(Ctobjio, RenamingOpensByTheOldNameAndSetsTheNewLabel) {
    fake::setDefault("C_FindObjects", fake::Reply().ulongs({44}));
    ASSERT_EQ(CT_RenameObject(3, CKO_DATA, "old", "brand new"), CKR_OK);
    const fake::Call set = *fake::last("C_SetAttributeValue");
    EXPECT_EQ(set.scalars[1], 44u);
    const fake::Template t = *set.templates[0];
    ASSERT_EQ(t.size(), 1u);
    EXPECT_EQ(t[0].type, CKA_LABEL);
    EXPECT_EQ(t[0].value, text("brand new"));

    fake::reset();
    fake::setDefault("C_FindObjects", fake::Reply().ulongs({}));
    EXPECT_EQ(CT_RenameObject(3, CKO_DATA, "unknown", "x"), CKR_GENERAL_ERROR);
    EXPECT_EQ(fake::count("C_SetAttributeValue"), 0u);
}

TEST_F(Ctobjio, ReadingAndWritingReportLengths) {
    fake::setDefault("C_GetAttributeValue", fake::Reply().attribute(CKA_VALUE, text("hello world")));
    CK_ULONG length = 99;
    ASSERT_EQ(CT_ReadObject(4, 5, nullptr, 0, &length), CKR_OK);  // the length query
    EXPECT_EQ(length, 11u);
    CK_BYTE small[4] = {};
    EXPECT_EQ(CT_ReadObject(4, 5, small, sizeof small, &length), CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(length, 11u);
    CK_BYTE buffer[16] = {};
    ASSERT_EQ(CT_ReadObject(4, 5, buffer, sizeof buffer, nullptr), CKR_OK);
    EXPECT_EQ(Bytes(buffer, buffer + 11), text("hello world"));
    // A token error before any length is known: its code, and no length.
    fake::setDefault("C_GetAttributeValue", fake::Reply().returns(CKR_OBJECT_HANDLE_INVALID));
    length = 99;
    EXPECT_EQ(CT_ReadObject(4, 5, buffer, sizeof buffer, &length), CKR_OBJECT_HANDLE_INVALID);
    EXPECT_EQ(length, 0u);

    CK_BYTE data[] = {1, 2, 3};
    CK_ULONG written = 0;
    ASSERT_EQ(CT_WriteObject(4, 5, data, sizeof data, &written), CKR_OK);
    EXPECT_EQ(written, 3u);
    const fake::Template t = *fake::last("C_SetAttributeValue")->templates[0];
    EXPECT_EQ(t[0].type, CKA_VALUE);
    EXPECT_EQ(t[0].value, (Bytes{1, 2, 3}));
    fake::setDefault("C_SetAttributeValue", fake::Reply().returns(CKR_ATTRIBUTE_READ_ONLY));
    written = 0;
    EXPECT_EQ(CT_WriteObject(4, 5, data, sizeof data, &written), CKR_ATTRIBUTE_READ_ONLY);
    EXPECT_EQ(written, 3u);  // whatever the result
}

}  // namespace
