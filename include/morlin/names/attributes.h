// Names of the attribute family: CK_ATTRIBUTE, and the value classes of the
// attribute dispatch that no other family names.
#ifndef MORLIN_NAMES_ATTRIBUTES_H
#define MORLIN_NAMES_ATTRIBUTES_H

#include <iterator>

#include "morlin/javaNames.h"
#include "morlin/names/core.h"

// java.lang.Long and java.lang.Boolean are written in place through their
// private field value: JNI reaches private fields.
#define MORLIN_NAMES_ATTRIBUTES(CLASS, ABSENT_CLASS, FIELD, METHOD)                              \
    CLASS(Attribute, "kaltrix/morlin/CK_ATTRIBUTE")                                              \
    FIELD(AttributeTypeField, Attribute, "type", "Lkaltrix/morlin/constants/CK_ATTRIBUTE_TYPE;") \
    FIELD(AttributeValue, Attribute, "pValue", "Ljava/lang/Object;")                             \
    FIELD(AttributeValueLen, Attribute, "valueLen", "J")                                         \
    CLASS(AttributeArray, "[Lkaltrix/morlin/CK_ATTRIBUTE;")                                      \
    METHOD(AttributeTypeSetValue, AttributeType, "setValue", "(J)V")                             \
    FIELD(LongField, Long, "value", "J")                                                         \
    FIELD(BooleanField, Boolean, "value", "Z")                                                   \
    CLASS(ByteArray, "[B")                                                                       \
    CLASS(LongArray, "[J")                                                                       \
    CLASS(String, "java/lang/String")                                                            \
    CLASS(IntArray, "[I")                                                                        \
    CLASS(BooleanArray, "[Z")                                                                    \
    CLASS(CharArray, "[C")                                                                       \
    CLASS(Character, "java/lang/Character")                                                      \
    METHOD(CharacterValue, Character, "charValue", "()C")

MORLIN_JAVA_NAMES(attributes, MORLIN_NAMES_ATTRIBUTES)

namespace jn {
// The value classes of an attribute, in the order in which both dispatches
// look them up before any test: all 26 going to Cryptoki, the first 18 (up
// to Boolean) coming back in place. A missing class fails the whole value,
// null included.
inline constexpr const Class* kValueClasses[] = {
    &kByteArray,
    &kLong,
    &kBBool,
    &kDate,
    &kObjectHandle,
    &kSessionHandle,
    &kAttributeType,
    &kCertificateType,
    &kHWFeatureType,
    &kKeyType,
    &kMechanismType,
    &kMechanismTypeArray,
    &kObjectClass,
    &kOaepSourceType,
    &kRV,
    &kState,
    &kUserType,
    &kBoolean,
    &kLongArray,
    &kString,
    &kInteger,
    &kIntArray,
    &kBooleanArray,
    &kCharArray,
    &kByte,
    &kCharacter,
};
inline constexpr size_t kInPlaceValueClasses = 18;
// The order in which a value is tested against those classes, as indices
// into kValueClasses, the first hit deciding. It departs from the lookup
// order in one place: the mechanism-type array is tested before the
// mechanism type.
inline constexpr size_t kValueTestOrder[] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  11, 10, 12,
                                             13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25};
static_assert(std::size(kValueTestOrder) == std::size(kValueClasses), "every class is tested");
}  // namespace jn

#endif
