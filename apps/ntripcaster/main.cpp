// ntripcaster: serves recorded RTCM 3 files (plain or gzip) as NTRIP mounts
// on 127.0.0.1, for trying out and testing NTRIP clients. See --help.
//
//   ntripcaster --port 2101 --realtime ROVR=ROVR_20260206_MSM5.rtcm3.gz SSR=SSR_20260206_CORR.rtcm3.gz
//
// Runs until interrupted (Ctrl-C or SIGTERM), then prints what it served.
// Exit status 0 after a clean stop, 1 when a file cannot be read or the port
// cannot be bound, 2 for a wrong command line.
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <unistd.h>

#include "io/CommandLine.h"
#include "rt/NtripCaster.h"

namespace {

volatile std::sig_atomic_t g_stop = 0;

void OnSignal(int)
{
    g_stop = 1;
}

const char* const kUsage =
    "usage: ntripcaster [options] MOUNT=FILE [MOUNT=FILE ...]\n"
    "Serves recorded RTCM 3 files (plain or gzip) as NTRIP 1 and NTRIP 2 mounts on 127.0.0.1.\n"
    "Each connection replays its file from the start and is closed at its end.\n"
    "  MOUNT=FILE            a mount point and the file it serves; MOUNT+=FILE marks the mount\n"
    "                        as wanting GGA from its clients (nmea 1 in the source table)\n"
    "  --port N              TCP port (default 2101; 0: any free port, printed at start)\n"
    "  --user USER:PASSWORD  clients must log in with these (the source table stays open)\n"
    "  --rate BYTES_PER_S    replay at this many bytes per second\n"
    "  --realtime            replay at the pace of the messages' epoch times\n"
    "                        (default without --rate or --realtime: as fast as the client reads)\n"
    "  --drop-after BYTES    close each connection after this many bytes (reconnection tests);\n"
    "                        the next connection to the mount continues from there\n"
    "  -h, --help            this text\n";

struct Options {
    ppprt::CasterOptions caster;
    std::vector<ppprt::CasterMount> mounts;
    bool help = false;
};

ppprt::CasterMount ParseMount(const std::string& text)
{
    const size_t equals = text.find('=');
    ppprt::CasterMount m;
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size())
        throw pppio::UsageError("expected MOUNT=FILE, not '" + text + "'");
    m.nmea = text[equals - 1] == '+';
    m.name = text.substr(0, m.nmea ? equals - 1 : equals);
    m.path = text.substr(equals + 1);
    if (m.name.empty())
        throw pppio::UsageError("expected MOUNT=FILE, not '" + text + "'");
    for (const char c : m.name)
        if (c <= ' ' || c == '/' || c == ';' || c == 127)
            throw pppio::UsageError("mount '" + m.name + "' has a space, '/' or ';'");
    return m;
}

Options Parse(int argc, char** argv)
{
    Options o;
    o.caster.port = 2101;
    pppio::Arguments args(argc, argv);
    while (args.next()) {
        const std::string& option = args.option();
        if (option == "--help" || option == "-h") {
            o.help = true;
        } else if (option == "--port") {
            o.caster.port = pppio::parseCount(option, args.value(), 0, 65535);
        } else if (option == "--user") {
            const std::string value = args.value();
            const size_t colon = value.find(':');
            if (colon == std::string::npos || colon == 0)
                throw pppio::UsageError("option --user expects USER:PASSWORD");
            o.caster.user = value.substr(0, colon);
            o.caster.password = value.substr(colon + 1);
        } else if (option == "--rate") {
            o.caster.bytesPerSecond = pppio::parseNumber(option, args.value(), 1.0, 1e9);
        } else if (option == "--realtime") {
            o.caster.realtime = true;
        } else if (option == "--drop-after") {
            o.caster.dropAfterBytes = pppio::parseCount(option, args.value(), 1, 1000000000);
            o.caster.dropConnections = 1000000000;
        } else if (option.compare(0, 1, "-") == 0) {
            throw pppio::UsageError("unknown option " + option);
        } else {
            o.mounts.push_back(ParseMount(option));
        }
    }
    if (o.help)
        return o;
    if (o.mounts.empty())
        throw pppio::UsageError("no MOUNT=FILE given");
    if (o.caster.realtime && o.caster.bytesPerSecond > 0.0)
        throw pppio::UsageError("--rate and --realtime exclude each other");
    return o;
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    try {
        options = Parse(argc, argv);
    } catch (const pppio::UsageError& e) {
        std::fprintf(stderr, "ntripcaster: %s\n%s", e.what(), kUsage);
        return 2;
    }
    if (options.help) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    try {
        ppprt::NtripCaster caster(options.mounts, options.caster);
        std::printf("ntripcaster: serving %zu mount(s) on 127.0.0.1:%d\n", options.mounts.size(), caster.port());
        std::fflush(stdout);
        while (!g_stop)
            ::usleep(100000);
        const ppprt::CasterStats s = caster.stats();
        std::printf("ntripcaster: %ld connections, %ld streams, %ld source tables, %ld refused, %ld dropped, "
                    "%ld GGA received, %lld bytes sent\n",
                    s.connections, s.streams, s.tables, s.refused, s.drops, s.ggaReceived,
                    static_cast<long long>(s.bytesSent));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "ntripcaster: %s\n", e.what());
        return 1;
    }
    return 0;
}
