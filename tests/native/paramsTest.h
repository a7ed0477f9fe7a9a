// The fixture of the parameter-class tests: a mechanism holding the Java
// parameter goes through the table, its structure is checked and released,
// and then the same runs over every exception path.
#ifndef MORLIN_TESTS_PARAMSTEST_H
#define MORLIN_TESTS_PARAMSTEST_H

#include <tuple>

#include "allocations.h"
#include "bridgeTest.h"
#include "morlin/mechanism.h"
#include "sweep.h"

namespace morlin_test {

class ParamsTest : public BridgeTest {
protected:
    static constexpr CK_MECHANISM_TYPE kType = CKM_VENDOR_DEFINED | 0xA11;
    static constexpr jlong kLength = 0x5A5;  // a parameterLen that no structure has

    // Converts a mechanism holding the parameter, hands the structure S to
    // check while exactly heldBytes are taken, releases it and finds
    // everything given back. Then, if sweeping, the same over every
    // exception path, where a faulted run keeps exactly those blocks (a
    // fault after the conversion) or nothing.
    template <class S, class Check>
    void convertAndRelease(jobject parameter, long heldBytes, Check check, jlong parameterLen = kLength,
                           bool sweeping = true) {
        jobject m = mechanism(kType, parameter, parameterLen);
        long heldBlocks = 0;
        {
            AllocationWatch memory;
            CK_MECHANISM ck = jMechanismToCKMechanism(env, m);
            ASSERT_FALSE(pending()) << takeException();
            EXPECT_EQ(std::tuple(ck.mechanism, ck.ulParameterLen), std::tuple(kType, CK_ULONG(parameterLen)));
            ASSERT_NE(ck.pParameter, nullptr);
            EXPECT_EQ(memory.tally().bytes, heldBytes);
            heldBlocks = memory.tally().blocks;
            check(*static_cast<const S*>(ck.pParameter));
            FreeCKMechanismParameter(env, m, &ck);
            EXPECT_EQ(memory.tally().blocks, 0);
        }
        if (!sweeping) return;
        auto run = [this, m] {
            CK_MECHANISM ck = jMechanismToCKMechanism(env, m);
            FreeCKMechanismParameter(env, m, &ck);
        };
        EXPECT_GT(sweepConversion(env, "conversion and release", run, heldBlocks, heldBytes), 0);
    }
};

}  // namespace morlin_test

#endif
