// GetConstantValue of class CK, and the agreement of the Java constants and
// the wrappers' names with the native tables. The test JVM has no
// libmorlin.so on its library path, so class CK itself cannot be initialised
// here: the constants are read from CKLiterals, which is what the wrappers'
// toString reads too.
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "bridgeTest.h"
#include "morlin_util.h"

namespace morlin_test {
namespace {

class ConstantsTest : public BridgeTest {
protected:
    std::string path(const char* simple) { return std::string("kaltrix/morlin/constants/") + simple; }
    jobject wrapperAt(const std::string& cls, jlong value) {
        jobject o = allocObject(cls.c_str());
        setLong(o, "m_value", value);
        return o;
    }
    std::string javaString(jobject object) {
        jclass cls = env->GetObjectClass(object);
        auto s = static_cast<jstring>(
            env->CallObjectMethod(object, env->GetMethodID(cls, "toString", "()Ljava/lang/String;")));
        return readString(s);
    }
};

// ---- GetConstantValue -------------------------------------------------------------

TEST_F(ConstantsTest, ConstantValueKnowsOnlyUnavailableInformation) {
    EXPECT_EQ(Java_kaltrix_morlin_constants_CK_GetConstantValue(env, nullptr, makeString("UNAVAILABLE_INFORMATION")),
              -1);
    EXPECT_FALSE(pending());

    const std::pair<const char*, const char*> refused[] = {
        {"UNAVAILABLE_INFORMATION_", "Constant UNAVAILABLE_INFORMATION_ not recognized"},
        {"UNAVAILABLE_INFORMATIO", "Constant UNAVAILABLE_INFORMATIO not recognized"},
        {"", "Constant  not recognized"},
    };
    for (auto [input, expected] : refused) {
        SCOPED_TRACE(input);
        EXPECT_EQ(Java_kaltrix_morlin_constants_CK_GetConstantValue(env, nullptr, makeString(input)), 0);
        std::string message;
        EXPECT_EQ(takeException(&message), "java.lang.UnsupportedOperationException");
        EXPECT_EQ(message, expected);
    }
}

TEST_F(ConstantsTest, ConstantValueLeavesAnEarlierExceptionAlone) {
    jclass error = findClass("java/lang/IllegalArgumentException");
    env->ThrowNew(error, "earlier");
    EXPECT_EQ(Java_kaltrix_morlin_constants_CK_GetConstantValue(env, nullptr, makeString("UNAVAILABLE_INFORMATION")),
              0);
    std::string message;
    EXPECT_EQ(takeException(&message), "java.lang.IllegalArgumentException");
    EXPECT_EQ(message, "earlier");
}

// ---- Java constants against the tables ------------------------------------------

struct JavaGroup {
    const char* prefix;
    const StrMapEntry* rows;
    CK_ULONG count;
};

const JavaGroup kJavaGroups[] = {
    {"CKO_", ObjClassTable, OBJ_CLASS_TABLE_ROWS},  {"CKK_", KeyTypeTable, KEY_TYPE_TABLE_ROWS},
    {"CKA_", AttributeTable, ATTRIBUTE_TABLE_ROWS}, {"CKM_", MechanismTable, MECHANISM_TABLE_ROWS},
    {"CKD_", KdfKDFTable, KDF_TABLE_ROWS},
};

class JavaConstantsTest : public ConstantsTest {
protected:
    // Every static long of the class by name, through reflection for the
    // names and plain JNI for the values (which initialises nothing but it).
    std::map<std::string, jlong> staticLongs(const char* className) {
        jclass cls = findClass(className);
        jclass fieldClass = findClass("java/lang/reflect/Field");
        jmethodID getDeclaredFields =
            env->GetMethodID(findClass("java/lang/Class"), "getDeclaredFields", "()[Ljava/lang/reflect/Field;");
        auto fields = static_cast<jobjectArray>(env->CallObjectMethod(cls, getDeclaredFields));
        EXPECT_FALSE(pending());
        jmethodID getName = env->GetMethodID(fieldClass, "getName", "()Ljava/lang/String;");
        std::map<std::string, jlong> out;
        for (jobject field : readObjects(fields)) {
            auto name = static_cast<jstring>(env->CallObjectMethod(field, getName));
            EXPECT_FALSE(pending());
            const std::string fieldName = readString(name);
            jfieldID id = env->GetStaticFieldID(cls, fieldName.c_str(), "J");
            if (id == nullptr) {
                takeException();  // not a long
                continue;
            }
            out[fieldName] = env->GetStaticLongField(cls, id);
        }
        return out;
    }
};

// Each Java constant named after a row holds that row's value, and every row
// whose name is a Java identifier has its constant.
TEST_F(JavaConstantsTest, ConstantsAgreeWithTheTables) {
    const auto constants = staticLongs("kaltrix/morlin/constants/CKLiterals");
    ASSERT_FALSE(pending());
    for (const JavaGroup& g : kJavaGroups) {
        SCOPED_TRACE(g.prefix);
        int rowsWithoutConstant = 0;
        for (CK_ULONG i = 0; i < g.count; ++i) {
            const std::string name = g.rows[i].name;
            const std::string javaName = name.rfind(g.prefix, 0) == 0 ? name : g.prefix + name;
            auto it = constants.find(javaName);
            if (it == constants.end()) {
                ++rowsWithoutConstant;
                EXPECT_NE(name.find(" ("), std::string::npos) << "no Java constant for " << name;
                continue;
            }
            EXPECT_EQ(static_cast<CK_ULONG>(it->second), g.rows[i].value) << javaName;
        }
        // The suffixed names stand under their bare names, which have no row.
        const int suffixed = std::string(g.prefix) == "CKA_" || std::string(g.prefix) == "CKM_" ? 2 : 0;
        EXPECT_EQ(rowsWithoutConstant, suffixed);
    }
    EXPECT_EQ(constants.count("CK_UNAVAILABLE_INFORMATION"), 0u);  // CK's own, from the library
}

// Return values carry the standard's names in Java and messages in the
// table: each CKR_ constant lands on a row, but for the codes that the table
// does not know, so a value typed wrong on either side shows.
TEST_F(JavaConstantsTest, ReturnValuesHaveMessages) {
    const std::set<std::string> withoutRow = {
        "CKR_ACTION_PROHIBITED", "CKR_FUNCTION_NOT_PARALLEL",   "CKR_CURVE_NOT_SUPPORTED",   "CKR_NEW_PIN_MODE",
        "CKR_NEXT_OTP",          "CKR_EXCEEDED_MAX_ITERATIONS", "CKR_FIPS_SELF_TEST_FAILED", "CKR_LIBRARY_LOAD_FAILED",
        "CKR_PIN_TOO_WEAK",      "CKR_PUBLIC_KEY_INVALID",      "CKR_FUNCTION_REJECTED",     "CKR_VENDOR_DEFINED",
    };
    int checked = 0;
    for (const auto& [name, value] : staticLongs("kaltrix/morlin/constants/CKLiterals")) {
        if (name.rfind("CKR_", 0) != 0) continue;
        const std::string text = strError(static_cast<CK_RV>(value));
        const bool hasRow = text.rfind("UNKNOWN", 0) != 0 && text.rfind("Vendor", 0) != 0;
        EXPECT_EQ(hasRow, withoutRow.count(name) == 0) << name;
        ++checked;
    }
    EXPECT_GT(checked, 80);
}

// toString of the wrappers shows the table's name with its prefix, without
// libmorlin.so on the JVM's path: it must not initialise class CK.
TEST_F(JavaConstantsTest, WrapperNamesFollowTheTables) {
    struct Wrapped {
        const char* cls;
        const char* prefix;
        const StrMapEntry* rows;
        CK_ULONG count;
    };
    const Wrapped wrapped[] = {
        {"CK_OBJECT_CLASS", "CKO_", ObjClassTable, OBJ_CLASS_TABLE_ROWS},
        {"CK_KEY_TYPE", "CKK_", KeyTypeTable, KEY_TYPE_TABLE_ROWS},
        {"CK_ATTRIBUTE_TYPE", "CKA_", AttributeTable, ATTRIBUTE_TABLE_ROWS},
        {"CK_MECHANISM_TYPE", "CKM_", MechanismTable, MECHANISM_TABLE_ROWS},
    };
    for (const Wrapped& w : wrapped) {
        SCOPED_TRACE(w.cls);
        const std::string cls = path(w.cls);
        for (CK_ULONG i = 0; i < w.count; ++i) {
            const std::string shown = javaString(wrapperAt(cls.c_str(), static_cast<jlong>(w.rows[i].value)));
            CK_ULONG first = 0;
            while (w.rows[first].value != w.rows[i].value) ++first;
            const std::string firstName = w.rows[first].name;
            if (firstName.find(" (") != std::string::npos) {
                // A deprecated name is not shown; the number is.
                EXPECT_EQ(shown.rfind(std::string(w.cls) + " 0x", 0), 0u) << shown;
            } else {
                const std::string expected = firstName.rfind(w.prefix, 0) == 0 ? firstName : w.prefix + firstName;
                EXPECT_EQ(shown, expected);
            }
        }
    }
    EXPECT_EQ(javaString(wrapperAt(path("CK_KEY_TYPE"), 0x18)), "CKK_CAST128");
    EXPECT_EQ(javaString(wrapperAt(path("CK_RV"), 0x150)), "CKR_BUFFER_TOO_SMALL");
    EXPECT_EQ(javaString(wrapperAt(path("CK_STATE"), 3)), "CKS_RW_USER_FUNCTIONS");
    EXPECT_EQ(javaString(wrapperAt(path("CK_USER_TYPE"), 2)), "CKU_CONTEXT_SPECIFIC");
    EXPECT_EQ(javaString(wrapperAt(path("CK_MECHANISM_TYPE"), 0x80000000LL)), "CK_MECHANISM_TYPE 0x80000000");
    EXPECT_EQ(javaString(wrapperAt(path("CK_RV"), 0x6c)), "CK_RV 0x0000006C");
    ASSERT_FALSE(pending());
    // Class CK was never initialised: its initialisation would have loaded
    // the library, which is not on this JVM's path and would have thrown.
}

// The read targets that Template picks by attribute type (a CK_BBOOL, a Long,
// or bytes) agree with the utility library's classification of the same
// types; the Java side knows four more of the bridge's own.
TEST_F(JavaConstantsTest, ReadTargetKindsFollowTheClassification) {
    jclass templ = findClass("kaltrix/morlin/Template");
    jmethodID isBoolean = env->GetStaticMethodID(templ, "isBoolean", "(J)Z");
    jmethodID isNumeric = env->GetStaticMethodID(templ, "isNumeric", "(J)Z");
    ASSERT_TRUE(isBoolean && isNumeric);
    const std::set<CK_ULONG> bridgeOnly = {0x200 /* SECONDARY_AUTH */, 0x201 /* AUTH_PIN_FLAGS */, 0x80000147 /* HALT_CMD */,
                                           0x80000250 /* HIFACE_MASTER */};
    int booleans = 0, numerics = 0;
    for (CK_ULONG i = 0; i < ATTRIBUTE_TABLE_ROWS; ++i) {
        const CK_ULONG type = AttributeTable[i].value;
        SCOPED_TRACE(AttributeTable[i].name);
        CK_BBOOL flag = CK_TRUE;
        const CK_ATTRIBUTE row = {type, &flag, 1};
        const bool javaBoolean = env->CallStaticBooleanMethod(templ, isBoolean, static_cast<jlong>(type));
        ASSERT_FALSE(pending());
        const bool javaNumeric = env->CallStaticBooleanMethod(templ, isNumeric, static_cast<jlong>(type));
        ASSERT_FALSE(pending());
        const bool utilityNumeric = isNumericAttrType(type) && type != 0x80000104 /* MECHANISM_LIST, an array */;
        if (!bridgeOnly.count(type)) {
            EXPECT_EQ(javaBoolean, isBooleanAttr(&row) != 0);
            EXPECT_EQ(javaNumeric, utilityNumeric);
        }
        EXPECT_FALSE(javaBoolean && javaNumeric);
        booleans += javaBoolean;
        numerics += javaNumeric;
    }
    EXPECT_GE(booleans, 30);
    EXPECT_GE(numerics, 35);
}

}  // namespace
}  // namespace morlin_test
