// Decoding speed of the MSM decoder and epoch builder on a recorded RTCM 3
// stream (plain or gzip), and the signals the stream carries per system.
//
//   bench_msm_decode [file ...]   (default: the ROVR MSM5 hour of the shared data)
#include <chrono>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <zlib.h>

#include "io/GpsTime.h"
#include "rt/MsmEpochBuilder.h"
#include "rt/RtcmFramer.h"
#include "rt/RtcmMsm.h"

namespace {

const char* const kDefaultFile = "/work/shared/data/rtcm_2026037/ROVR_20260206_MSM5.rtcm3.gz";
constexpr int kRuns = 5;

std::vector<uint8_t> ReadAll(const char* path)
{
    std::vector<uint8_t> bytes;
    gzFile file = gzopen(path, "rb");
    if (!file)
        return bytes;
    uint8_t chunk[65536];
    int n;
    while ((n = gzread(file, chunk, sizeof(chunk))) > 0)
        bytes.insert(bytes.end(), chunk, chunk + n);
    gzclose(file);
    return bytes;
}

struct Frames {
    std::vector<std::vector<uint8_t>> msm;
    std::map<int, long> types;
};

Frames Split(const std::vector<uint8_t>& bytes)
{
    Frames frames;
    ppprt::RtcmFramer framer;
    framer.push(bytes.data(), bytes.size());
    ppprt::RtcmFrame frame;
    char system;
    int msmType;
    while (framer.next(frame)) {
        ++frames.types[frame.type()];
        if (ppprt::msmSystemAndType(frame.type(), system, msmType))
            frames.msm.emplace_back(frame.payload, frame.payload + frame.length);
    }
    return frames;
}

void Report(const char* path)
{
    const std::vector<uint8_t> bytes = ReadAll(path);
    const Frames frames = Split(bytes);
    std::printf("%s: %zu bytes, %zu MSM messages\n  message types:", path, bytes.size(), frames.msm.size());
    for (const auto& t : frames.types)
        std::printf(" %d x%ld", t.first, t.second);
    std::printf("\n");
    if (frames.msm.empty())
        return;

    static ppprt::MsmMessage msm;
    // First pass: a reference time from the first GPS-like epoch, the signals.
    tagGPSTIME2 reference = pppio::gpsTimeFromCalendar(2026, 2, 6, 20, 0, 0.0);
    if (std::string(path).find("2012") != std::string::npos)
        reference = pppio::gpsTimeFromCalendar(2012, 10, 14, 0, 0, 0.0);
    std::map<char, std::set<std::string>> signals;
    std::map<std::string, long> statuses;
    for (const auto& m : frames.msm) {
        const ppprt::MsmStatus status = ppprt::decodeMsm(m.data(), m.size(), reference, msm);
        ++statuses[ppprt::describe(status)];
        if (status != ppprt::MsmStatus::kOk)
            continue;
        reference = msm.time;
        for (int s = 0; s < msm.satelliteCount; ++s)
            for (int c = 0; c < msm.satellites[s].cellCount; ++c)
                signals[msm.system].insert(msm.satellites[s].cells[c].code);
    }
    for (const auto& s : statuses)
        std::printf("  status %s: %ld\n", s.first.c_str(), s.second);
    for (const auto& s : signals) {
        std::printf("  %c:", s.first);
        for (const std::string& code : s.second)
            std::printf(" %s", code.c_str());
        std::printf("\n");
    }

    double best = 1e30, bestEpochs = 1e30;
    long epochs = 0;
    for (int run = 0; run < kRuns; ++run) {
        tagGPSTIME2 near = reference;
        const auto start = std::chrono::steady_clock::now();
        for (const auto& m : frames.msm)
            if (ppprt::decodeMsm(m.data(), m.size(), near, msm) == ppprt::MsmStatus::kOk)
                near = msm.time;
        const auto middle = std::chrono::steady_clock::now();
        ppprt::MsmEpochBuilder builder;
        epochs = 0;
        for (const auto& m : frames.msm)
            if (ppprt::decodeMsm(m.data(), m.size(), near, msm) == ppprt::MsmStatus::kOk) {
                near = msm.time;
                epochs += builder.add(msm);
            }
        epochs += builder.flush();
        const auto end = std::chrono::steady_clock::now();
        best = std::min(best, std::chrono::duration<double>(middle - start).count());
        bestEpochs = std::min(bestEpochs, std::chrono::duration<double>(end - middle).count());
    }
    const double n = static_cast<double>(frames.msm.size());
    std::printf("  decode: %.3f s, %.0f messages/s, %.2f us/message (best of %d)\n", best, n / best, best / n * 1e6,
                kRuns);
    std::printf("  decode + epoch building: %.3f s, %.0f messages/s, %ld epochs\n", bestEpochs, n / bestEpochs, epochs);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        Report(kDefaultFile);
        return 0;
    }
    for (int i = 1; i < argc; ++i)
        Report(argv[i]);
    return 0;
}
