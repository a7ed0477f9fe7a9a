// Every class, field and method that the bridge names, looked up in a JVM
// that loads morlin.jar: the registries of all name families, as
// include/morlin/names/ holds them, so that no list is kept here.
#include <iterator>

#include "bridgeTest.h"
#include "nameFamilies.h"

namespace morlin_test {
namespace {

struct Family {
    const char* name;
    const jn::Name* rows;
    size_t count;
};

#define MORLIN_NAME_FAMILY(family) {#family, jn::registry::family, std::size(jn::registry::family)},
const Family kFamilies[] = {MORLIN_NAME_FAMILIES(MORLIN_NAME_FAMILY)};
#undef MORLIN_NAME_FAMILY

class JavaNamesTest : public JniTest {};

TEST_F(JavaNamesTest, EveryRegisteredNameResolves) {
    size_t looked = 0;
    for (const Family& family : kFamilies) {
        SCOPED_TRACE(family.name);
        for (size_t i = 0; i < family.count; ++i) {
            const jn::Name& n = family.rows[i];
            SCOPED_TRACE(std::string(n.cls) + (n.name != nullptr ? std::string(".") + n.name + " " + n.sig : ""));
            if (n.absent) {
                // Meant to be missing; its members cannot be looked up.
                if (n.kind == jn::Name::ClassRow) {
                    EXPECT_EQ(env->FindClass(n.cls), nullptr);
                    EXPECT_EQ(takeException(), "java.lang.NoClassDefFoundError");
                }
                continue;
            }
            jclass cls = env->FindClass(n.cls);
            ASSERT_NE(cls, nullptr) << takeException();
            if (n.kind == jn::Name::FieldRow) {
                EXPECT_NE(env->GetFieldID(cls, n.name, n.sig), nullptr) << takeException();
            } else if (n.kind == jn::Name::MethodRow) {
                EXPECT_NE(env->GetMethodID(cls, n.name, n.sig), nullptr) << takeException();
            }
            ++looked;
        }
    }
    EXPECT_GT(looked, 100u);
}

}  // namespace
}  // namespace morlin_test
