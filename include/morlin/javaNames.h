// Names of the Java side's classes, fields and methods that the bridge
// touches: the contract with morlin.jar, each written once.
//
// A family of names (include/morlin/names/<family>.h) lists its rows in one
// X-macro, CLASS(id, path), FIELD(id, class id, name, signature) and
// METHOD(id, class id, name, signature), and MORLIN_JAVA_NAMES turns the rows
// into constants (jn::kLongRef, jn::kLongRefValue, ...) and into the family's
// registry, jn::registry::<family>. A native test walks every registry in a
// JVM that loads morlin.jar and looks each row up, so a misspelt name or
// signature fails that test rather than a user.
//
// A field's C++ type follows from its signature, and each field accessor of
// jutil takes only the type it reads: a "J" field cannot reach GetIntField.
#ifndef MORLIN_JAVA_NAMES_H
#define MORLIN_JAVA_NAMES_H

#include <cstddef>

namespace jn {

struct Class {
    const char* path;
    // A class that the JVM must not know: looking it up is meant to fail.
    bool absent = false;
};

enum class Sig { Long, Int, Boolean, Byte, Bytes, Object };

constexpr Sig SigOf(const char* sig) {
    switch (sig[0]) {
        case 'J':
            return Sig::Long;
        case 'I':
            return Sig::Int;
        case 'Z':
            return Sig::Boolean;
        case 'B':
            return Sig::Byte;
        case '[':
            return sig[1] == 'B' && sig[2] == '\0' ? Sig::Bytes : Sig::Object;
        default:
            return Sig::Object;
    }
}

struct Field {
    const char* cls;  // the declaring class's path
    const char* name;
    const char* sig;
};

// A field whose signature is known to the compiler.
template <Sig S>
struct TypedField : Field {};
using LongField = TypedField<Sig::Long>;
using IntField = TypedField<Sig::Int>;
using BooleanField = TypedField<Sig::Boolean>;
using ByteField = TypedField<Sig::Byte>;
using BytesField = TypedField<Sig::Bytes>;
using ObjectField = TypedField<Sig::Object>;

struct Method {
    const char* cls;
    const char* name;
    const char* sig;
};

// One row of a family's registry.
struct Name {
    enum Kind { ClassRow, FieldRow, MethodRow } kind;
    const char* cls;
    const char* name;  // null for a class
    const char* sig;   // null for a class
    bool absent;       // a class meant to be missing
};

}  // namespace jn

#define MORLIN_JN_CLASS_(id, path) inline constexpr Class k##id{path};
#define MORLIN_JN_ABSENT_CLASS_(id, path) inline constexpr Class k##id{path, true};
#define MORLIN_JN_FIELD_(id, cls, name, sig) inline constexpr TypedField<SigOf(sig)> k##id{{k##cls.path, name, sig}};
#define MORLIN_JN_METHOD_(id, cls, name, sig) inline constexpr Method k##id{k##cls.path, name, sig};
#define MORLIN_JN_CLASS_ROW_(id, path) {Name::ClassRow, path, nullptr, nullptr, false},
#define MORLIN_JN_ABSENT_CLASS_ROW_(id, path) {Name::ClassRow, path, nullptr, nullptr, true},
#define MORLIN_JN_FIELD_ROW_(id, cls, name, sig) {Name::FieldRow, k##cls.path, name, sig, k##cls.absent},
#define MORLIN_JN_METHOD_ROW_(id, cls, name, sig) {Name::MethodRow, k##cls.path, name, sig, k##cls.absent},

// Defines the constants of one family and its registry. LIST takes the four
// row macros CLASS, ABSENT_CLASS, FIELD and METHOD.
#define MORLIN_JAVA_NAMES(family, LIST)                                                                        \
    namespace jn {                                                                                             \
    LIST(MORLIN_JN_CLASS_, MORLIN_JN_ABSENT_CLASS_, MORLIN_JN_FIELD_, MORLIN_JN_METHOD_)                       \
    namespace registry {                                                                                       \
    inline constexpr Name family[] = {                                                                         \
        LIST(MORLIN_JN_CLASS_ROW_, MORLIN_JN_ABSENT_CLASS_ROW_, MORLIN_JN_FIELD_ROW_, MORLIN_JN_METHOD_ROW_)}; \
    }                                                                                                          \
    }

#endif
