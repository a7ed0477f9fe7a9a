/*
 * fakeCryptoki.cpp - a token library that records and answers as scripted.
 *
 * Every exported function is one line: it hands its arguments to Entry, whose
 * template turns each into a descriptor by its C type. dispatch() then walks
 * the descriptors once, pairing a pointer with the length that follows it,
 * records the call and answers it. The C types alone say almost everything:
 *
 *   CK_BYTE_PTR + CK_ULONG        input bytes (copied at that length)
 *   CK_BYTE_PTR + CK_ULONG_PTR    two-phase byte output and its length
 *   CK_BYTE_PTR alone             a label, 32 bytes by PKCS#11 convention
 *   CK_ATTRIBUTE_PTR + CK_ULONG   template and its count
 *   other CK_ULONG_PTR            in/out length, or a single-value output
 *
 * The only things the types cannot tell are named in shapeOf(): which
 * CK_ULONG_PTR is a list buffer, and which "input" buffer the token fills.
 */
#include "fakeCryptoki.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <string_view>

/* AddressSanitizer's query, resolved at load time when the runtime is there. */
extern "C" __attribute__((weak, visibility("default"))) void* __asan_region_is_poisoned(void* begin, std::size_t size);

namespace fake {
namespace {

constexpr CK_ULONG kSaneLength = 1UL << 20;
constexpr CK_ULONG kLabelLength = 32;

/* How much of [p, p + n) may be touched: all of it, unless the sanitizer
 * knows where the block ends. */
std::size_t room(const void* p, std::size_t n) {
    if (p == nullptr || n == 0 || __asan_region_is_poisoned == nullptr) return n;
    auto* begin = const_cast<void*>(p);
    auto* bad = static_cast<char*>(__asan_region_is_poisoned(begin, n));
    return bad == nullptr ? n : static_cast<std::size_t>(bad - static_cast<char*>(begin));
}

std::size_t readable(const void* p, CK_ULONG n) { return n < kSaneLength ? room(p, n) : 0; }

void write(void* dst, const void* src, std::size_t n) {
    n = room(dst, n);
    if (dst != nullptr && n != 0) std::memcpy(dst, src, n);
}

std::optional<Bytes> copyBytes(const void* p, CK_ULONG n) {
    if (p == nullptr) return std::nullopt;
    auto* b = static_cast<const CK_BYTE*>(p);
    return Bytes(b, b + readable(p, n));
}

Bytes copyValue(const void* p, CK_ULONG n) {
    if (p == nullptr || n == CK_UNAVAILABLE_INFORMATION) return {};
    return *copyBytes(p, n);
}

/* Number of elements of an array of T that may be read, at most count. */
template <class T>
std::size_t elements(const T* p, CK_ULONG count) {
    if (count >= kSaneLength / sizeof(T)) return 0;
    return room(p, count * sizeof(T)) / sizeof(T);
}

enum class Kind { Scalar, Bytes, Ulongs, Template, Mechanism, Opaque, Struct, Status };

struct Arg {
    Kind kind;
    CK_ULONG value = 0;    // Scalar
    void* ptr = nullptr;   // every pointer kind
    std::size_t size = 0;  // Struct
};

Arg describe(CK_ULONG v) { return {Kind::Scalar, v}; }
Arg describe(CK_BBOOL v) { return {Kind::Scalar, v}; }
Arg describe(unsigned short v) { return {Kind::Scalar, v}; }
Arg describe(CK_BYTE_PTR p) { return {Kind::Bytes, 0, p}; }
Arg describe(CK_ULONG_PTR p) { return {Kind::Ulongs, 0, p}; }
Arg describe(CK_ATTRIBUTE_PTR p) { return {Kind::Template, 0, p}; }
Arg describe(CK_MECHANISM_PTR p) { return {Kind::Mechanism, 0, p}; }
Arg describe(CK_VOID_PTR p) { return {Kind::Opaque, 0, p}; }
Arg describe(CK_NOTIFY p) { return {Kind::Opaque, 0, reinterpret_cast<void*>(p)}; }
Arg describe(unsigned int* p) { return {Kind::Status, 0, p}; }
Arg describe(CK_INFO_PTR p) { return {Kind::Struct, 0, p, sizeof *p}; }
Arg describe(CK_SLOT_INFO_PTR p) { return {Kind::Struct, 0, p, sizeof *p}; }
Arg describe(CK_TOKEN_INFO_PTR p) { return {Kind::Struct, 0, p, sizeof *p}; }
Arg describe(CK_SESSION_INFO_PTR p) { return {Kind::Struct, 0, p, sizeof *p}; }
Arg describe(CK_MECHANISM_INFO_PTR p) { return {Kind::Struct, 0, p, sizeof *p}; }

enum class Shape { Plain, List, Fill };

Shape shapeOf(std::string_view name) {
    // The first CK_ULONG_PTR is an array of results, not a single value.
    if (name == "C_GetSlotList" || name == "C_GetMechanismList" || name == "C_FindObjects") return Shape::List;
    // The last byte buffer with a by-value length is filled by the token.
    if (name == "C_GenerateRandom" || name == "FMSC_SendReceive") return Shape::Fill;
    return Shape::Plain;
}

/* Where the outputs of one call are, found while recording it. */
struct Outputs {
    bool hasBytes = false;  // two-phase byte buffer
    CK_BYTE_PTR bytes = nullptr;
    CK_ULONG_PTR bytesLen = nullptr;
    bool hasList = false;
    CK_ULONG_PTR list = nullptr;
    CK_ULONG_PTR listLen = nullptr;
    std::optional<CK_ULONG> listMax;  // C_FindObjects' ulMaxObjectCount
    bool hasFill = false;
    CK_BYTE_PTR fill = nullptr;
    CK_ULONG fillLen = 0;
    void* fixed = nullptr;
    std::size_t fixedSize = 0;
    std::vector<CK_ULONG_PTR> values;
    unsigned int* status = nullptr;
    CK_ATTRIBUTE_PTR attrs = nullptr;
    std::size_t attrCount = 0;
};

Outputs record(Call& call, const Arg* args, std::size_t n) {
    const Shape shape = shapeOf(call.name);
    Outputs out;
    enum { None, PendingBytes, PendingList } pending = None;
    for (std::size_t i = 0; i < n; ++i) {
        const Arg& a = args[i];
        const Arg* next = i + 1 < n ? &args[i + 1] : nullptr;
        if (a.kind != Kind::Scalar) {
            call.nulls.push_back(a.ptr == nullptr);
            call.pointers.push_back(reinterpret_cast<std::uintptr_t>(a.ptr));
        }
        switch (a.kind) {
            case Kind::Scalar:
                call.scalars.push_back(a.value);
                if (pending == PendingList) out.listMax = a.value;
                break;
            case Kind::Bytes: {
                auto* p = static_cast<CK_BYTE_PTR>(a.ptr);
                if (next != nullptr && next->kind == Kind::Scalar) {
                    call.inputs.push_back(copyBytes(p, next->value));
                    if (shape == Shape::Fill) {
                        out.hasFill = true;
                        out.fill = p;
                        out.fillLen = next->value;
                    }
                } else if (next != nullptr && next->kind == Kind::Ulongs) {
                    out.hasBytes = true;
                    out.bytes = p;
                    pending = PendingBytes;
                } else {
                    call.inputs.push_back(copyBytes(p, kLabelLength));
                }
                break;
            }
            case Kind::Ulongs: {
                auto* p = static_cast<CK_ULONG_PTR>(a.ptr);
                if (shape == Shape::List && !out.hasList) {
                    out.hasList = true;
                    out.list = p;
                    pending = PendingList;
                    break;
                }
                call.lengthsIn.push_back(p != nullptr ? std::optional<CK_ULONG>(*p) : std::nullopt);
                if (pending == PendingBytes)
                    out.bytesLen = p;
                else if (pending == PendingList)
                    out.listLen = p;
                else
                    out.values.push_back(p);
                pending = None;
                break;
            }
            case Kind::Template: {
                auto* p = static_cast<CK_ATTRIBUTE_PTR>(a.ptr);
                if (p == nullptr) {
                    call.templates.emplace_back();
                    break;
                }
                const std::size_t count = elements(p, next != nullptr ? next->value : 0);
                Template copy;
                for (std::size_t k = 0; k < count; ++k)
                    copy.push_back(
                        {p[k].type, p[k].pValue == nullptr, p[k].ulValueLen, copyValue(p[k].pValue, p[k].ulValueLen)});
                call.templates.push_back(std::move(copy));
                if (out.attrs == nullptr) {
                    out.attrs = p;
                    out.attrCount = count;
                }
                break;
            }
            case Kind::Mechanism:
                if (auto* m = static_cast<CK_MECHANISM_PTR>(a.ptr))
                    call.mechanism = Mechanism{m->mechanism, m->pParameter == nullptr, m->ulParameterLen,
                                               copyValue(m->pParameter, m->ulParameterLen)};
                break;
            case Kind::Opaque:
                if (call.name == "C_Initialize" && a.ptr != nullptr) {
                    CK_C_INITIALIZE_ARGS copy{};
                    std::memcpy(&copy, a.ptr, room(a.ptr, sizeof copy));
                    call.initArgs = copy;
                }
                break;
            case Kind::Struct:
                out.fixed = a.ptr;
                out.fixedSize = a.size;
                break;
            case Kind::Status:
                out.status = static_cast<unsigned int*>(a.ptr);
                break;
        }
    }
    return out;
}

/* Writes count elements of elemSize bytes under the PKCS#11 size-query rules,
 * or, with forced, the forced length and everything there is. */
CK_RV twoPhase(void* buffer, CK_ULONG_PTR length, const void* src, CK_ULONG count, std::size_t elemSize,
               std::optional<CK_ULONG> forced) {
    if (length == nullptr) return CKR_ARGUMENTS_BAD;
    if (forced) {
        write(buffer, src, count * elemSize);
        *length = *forced;
        return CKR_OK;
    }
    if (buffer == nullptr) {
        *length = count;
        return CKR_OK;
    }
    if (*length < count) {
        *length = count;
        return CKR_BUFFER_TOO_SMALL;
    }
    write(buffer, src, count * elemSize);
    *length = count;
    return CKR_OK;
}

CK_RV answerAttributes(const Reply& r, CK_ATTRIBUTE_PTR attrs, std::size_t count) {
    CK_RV rv = CKR_OK;
    auto fail = [&rv](CK_RV e) {
        if (rv == CKR_OK) rv = e;
    };
    for (std::size_t k = 0; k < count; ++k) {
        CK_ATTRIBUTE& a = attrs[k];
        auto it = r.attributes.find(a.type);
        if (it == r.attributes.end() || it->second.error) {
            a.ulValueLen = CK_UNAVAILABLE_INFORMATION;
            fail(it == r.attributes.end() ? CKR_ATTRIBUTE_TYPE_INVALID : *it->second.error);
            continue;
        }
        const AttributeAnswer& ans = it->second;
        const CK_ULONG size = ans.value.size();
        if (ans.forcedLength) {
            write(a.pValue, ans.value.data(), size);
            a.ulValueLen = *ans.forcedLength;
        } else if (a.pValue == nullptr) {
            a.ulValueLen = size;
        } else if (a.ulValueLen < size) {
            a.ulValueLen = CK_UNAVAILABLE_INFORMATION;
            fail(CKR_BUFFER_TOO_SMALL);
        } else {
            write(a.pValue, ans.value.data(), size);
            a.ulValueLen = size;
        }
    }
    return rv;
}

CK_RV answer(const Reply& r, const Outputs& out) {
    CK_RV rv = CKR_OK;
    auto fail = [&rv](CK_RV e) {
        if (rv == CKR_OK) rv = e;
    };
    if (out.hasBytes && (r.data || r.forcedLength)) {
        const Bytes none;
        const Bytes& d = r.data ? *r.data : none;
        fail(twoPhase(out.bytes, out.bytesLen, d.data(), d.size(), 1, r.forcedLength));
    }
    if (out.hasList && (r.list || r.forcedLength)) {
        const std::vector<CK_ULONG> none;
        const std::vector<CK_ULONG>& l = r.list ? *r.list : none;
        if (!out.listMax) {
            fail(twoPhase(out.list, out.listLen, l.data(), l.size(), sizeof(CK_ULONG), r.forcedLength));
        } else if (out.listLen == nullptr) {
            fail(CKR_ARGUMENTS_BAD);
        } else {
            // C_FindObjects: as many as fit in ulMaxObjectCount.
            const CK_ULONG n = r.forcedLength ? l.size() : std::min<CK_ULONG>(l.size(), *out.listMax);
            write(out.list, l.data(), n * sizeof(CK_ULONG));
            *out.listLen = r.forcedLength ? *r.forcedLength : n;
        }
    }
    if (out.hasFill && r.data) {
        write(out.fill, r.data->data(), std::min<CK_ULONG>(r.data->size(), out.fillLen));
        if (r.outValues.empty() && !out.values.empty() && out.values[0] != nullptr)
            *out.values[0] = r.data->size();  // FMSC_SendReceive's received length
    }
    if (out.fixed != nullptr && r.fixedOut)
        write(out.fixed, r.fixedOut->data(), std::min(out.fixedSize, r.fixedOut->size()));
    for (std::size_t k = 0; k < std::min(r.outValues.size(), out.values.size()); ++k)
        if (out.values[k] != nullptr) *out.values[k] = r.outValues[k];
    if (out.status != nullptr && r.fmStatus) *out.status = *r.fmStatus;
    if (out.attrs != nullptr && !r.attributes.empty()) fail(answerAttributes(r, out.attrs, out.attrCount));
    return r.rv ? *r.rv : rv;
}

/* ---- process-wide state ----------------------------------------------- */

struct Script {
    std::deque<Reply> queue;
    std::optional<Reply> fallback;
};

struct State {
    std::mutex lock;
    std::vector<Call> log;
    std::map<std::string, Script, std::less<>> scripts;
    std::function<void(const Call&)> observer;
};

/* Never destroyed: threads of a JVM may still call in while statics go. */
State& state() {
    static State& s = *new State;
    return s;
}

constexpr std::string_view kNames[] = {
#define FAKE_NAME_(name, params, args) #name,
    CK_STANDARD_FUNCTIONS(FAKE_NAME_) CK_VENDOR_FUNCTIONS(FAKE_NAME_)
#undef FAKE_NAME_
};

const std::string& checkedName(const std::string& function) {
    if (std::find(std::begin(kNames), std::end(kNames), function) == std::end(kNames))
        throw std::invalid_argument("fake token library has no function " + function);
    return function;
}

CK_RV dispatch(const char* name, const Arg* args, void* const* addresses, std::size_t n) {
    Call call;
    call.name = name;
    call.thread = std::this_thread::get_id();
    const Outputs out = record(call, args, n);
    Reply reply;
    std::function<void(const Call&)> observer;
    {
        State& s = state();
        std::lock_guard<std::mutex> guard(s.lock);
        observer = s.observer;
        s.log.push_back(call);
        auto it = s.scripts.find(call.name);
        if (it != s.scripts.end()) {
            if (!it->second.queue.empty()) {
                reply = std::move(it->second.queue.front());
                it->second.queue.pop_front();
            } else if (it->second.fallback) {
                reply = *it->second.fallback;
            }
        }
    }
    if (observer) observer(call);
    if (!reply.hookFn) return answer(reply, out);
    try {
        return reply.hookFn(call, addresses);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "fake %s: hook threw: %s\n", name, e.what());
    } catch (...) {
        std::fprintf(stderr, "fake %s: hook threw\n", name);
    }
    return CKR_GENERAL_ERROR;  // no C++ exception may reach the caller's C frames
}

struct Entry {
    const char* name;
    template <class... A>
    CK_RV operator()(A... a) const {
        const Arg described[] = {describe(a)...};
        void* const addresses[] = {static_cast<void*>(&a)...};
        return dispatch(name, described, addresses, sizeof...(A));
    }
};

}  // namespace

/* ---- scripting and inspection ------------------------------------------ */

void enqueue(const std::string& function, Reply reply) {
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.scripts[checkedName(function)].queue.push_back(std::move(reply));
}

void setDefault(const std::string& function, Reply reply) {
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.scripts[checkedName(function)].fallback = std::move(reply);
}

void reset() {
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.log.clear();
    s.scripts.clear();
}

std::vector<Call> calls() {
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return s.log;
}

std::vector<Call> calls(const std::string& function) {
    std::vector<Call> all = calls();
    all.erase(std::remove_if(all.begin(), all.end(), [&](const Call& c) { return c.name != function; }), all.end());
    return all;
}

std::size_t count(const std::string& function) {
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return std::count_if(s.log.begin(), s.log.end(), [&](const Call& c) { return c.name == function; });
}

std::optional<Call> last(const std::string& function) {
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    for (auto it = s.log.rbegin(); it != s.log.rend(); ++it)
        if (it->name == function) return *it;
    return std::nullopt;
}

void observe(std::function<void(const Call&)> observer) {
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.observer = std::move(observer);
}

std::optional<CK_C_INITIALIZE_ARGS> lastInitArgs() {
    std::optional<Call> call = last("C_Initialize");
    return call ? call->initArgs : std::nullopt;
}

}  // namespace fake

/* ---- the exported token functions --------------------------------------- */

#define FAKE_DEFINE_(name, params, args) \
    CK_RV name params { return fake::Entry{#name} args; }
CK_STANDARD_FUNCTIONS(FAKE_DEFINE_)
CK_VENDOR_FUNCTIONS(FAKE_DEFINE_)
#undef FAKE_DEFINE_
