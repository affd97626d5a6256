#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "TestFiles.h"
#include "common/GNSSConst.h"
#include "io/AmbiguityExport.h"

using namespace testfiles;

TEST(AmbiguityExport, WrittenEpochsReadBackWithTheirValues)
{
    struct Slot {
        int epoch;
        int iprn;
        int lock;
        double elevationDeg, mw, mwSig, amb, ambSig;
    };
    // G01 keeps its arc, E11 (iprn 70) restarts one at the second epoch, C20 (iprn 109) is new.
    const Slot slots[] = {{0, 1, 12, 35.123, 1234.5678, 0.05, -123.4567, 0.0123},
                          {0, 70, 40, 10.5, -3.25, 0.1, 9999.99, 9999.99},
                          {1, 1, 13, 35.2, 1234.5012, 0.049, -123.4501, 0.0121},
                          {1, 70, 1, 10.6, -2.0, 0.3, 0.5, 1.5},
                          {1, 109, 1, 80.0, 7.0, 0.2, 1.0, 0.5}};
    const tagGPSTIME2 times[] = {{2111, 345600.0}, {2111, 345630.0}};
    const std::string path = scratchPath("ambiguities.txt");
    {
        pppio::AmbiguityExportWriter out(path, 30.0);
        for (int e = 0; e < 2; ++e) {
            t_input_upds record{};
            record.time = times[e];
            std::memcpy(record.site, "ESBC", 5);
            record.gps[5].valid = 0;   // a slot without a value stays out
            for (const Slot& s : slots) {
                if (s.epoch != e)
                    continue;
                t_input_upd& u = s.iprn <= 32 ? record.gps[s.iprn - 1]
                                 : s.iprn <= 89 ? record.gal[s.iprn - 60] : record.bds[s.iprn - 90];
                u.valid = 1;
                u.iprn = s.iprn;
                u.lock = s.lock;
                u.param = s.elevationDeg * _DEG2RAD;
                u.mw = s.mw;
                u.mw_sig = s.mwSig;
                u.amb = s.amb;
                u.amb_sig = s.ambSig;
            }
            out.append(record);
        }
    }
    const pppio::AmbiguityExport file = pppio::readAmbiguityExport(path);
    EXPECT_EQ(file.site, "ESBC");
    EXPECT_DOUBLE_EQ(file.interval, 30.0);
    ASSERT_EQ(file.epochs.size(), 2u);
    size_t next = 0;
    for (int e = 0; e < 2; ++e) {
        const pppio::AmbiguityEpoch& epoch = file.epochs[static_cast<size_t>(e)];
        EXPECT_EQ(epoch.time.week, times[e].week);
        EXPECT_DOUBLE_EQ(epoch.time.sow, times[e].sow);
        for (const pppio::AmbiguitySatellite& s : epoch.satellites) {
            ASSERT_LT(next, sizeof slots / sizeof slots[0]);
            const Slot& want = slots[next++];
            EXPECT_EQ(want.epoch, e);
            EXPECT_EQ(s.iprn, want.iprn);
            EXPECT_EQ(s.lock, want.lock);
            EXPECT_NEAR(s.elevation, want.elevationDeg, 5e-4);
            EXPECT_NEAR(s.wl, want.mw, 5e-5);
            EXPECT_NEAR(s.wlSigma, want.mwSig, 5e-5);
            EXPECT_NEAR(s.amb, want.amb, 5e-5);
            EXPECT_NEAR(s.ambSigma, want.ambSig, 5e-5);
        }
    }
    EXPECT_EQ(next, sizeof slots / sizeof slots[0]);
}
