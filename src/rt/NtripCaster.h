// A small NTRIP caster for tests and demonstrations: serves recorded RTCM
// files (plain or gzip) on mounts, on 127.0.0.1, to NTRIP 1 and NTRIP 2
// clients (NTRIP 2 streams chunked), with an optional user and password,
// the source table at "/", 401 and 404 replies, and paced replay. Runs in
// its own thread from construction; the destructor stops it and closes
// every connection.
//
//   ppprt::CasterOptions options;
//   options.bytesPerSecond = 2000;                       // or realtime, or neither: as fast as possible
//   ppprt::NtripCaster caster({{"ROVR", "ROVR_20260206_MSM5.rtcm3.gz"}}, options);   // throws on bad files
//   use("ntrip://127.0.0.1:" + std::to_string(caster.port()) + "/ROVR");
//
// Each connection replays its mount's file from the start and is closed at
// its end. For reconnection tests, dropAfterBytes closes a connection after
// that many bytes; the next connection to the mount then continues where
// the dropped one stopped, as a live stream would.
#ifndef PPPRT_NTRIPCASTER_H
#define PPPRT_NTRIPCASTER_H

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace ppprt {

struct CasterMount {
    std::string name;
    std::string path;
    bool nmea = false;   // the source table asks clients for GGA
};

struct CasterOptions {
    int port = 0;                  // 0: a free port chosen by the system, see port()
    std::string user;              // with a password: clients must log in (source table excepted)
    std::string password;
    double bytesPerSecond = 0.0;   // paced replay; 0 with realtime false: as fast as possible
    bool realtime = false;         // at the pace of the messages' epoch times (see ReplaySchedule)
    long dropAfterBytes = 0;       // close a connection after this many stream bytes (0: never)...
    int dropConnections = 1;       // ...for this many connections
    int requestTimeoutMs = 5000;   // a client must send its request within this time
};

struct CasterStats {
    long connections = 0;    // accepted
    long streams = 0;        // of those, served a mount
    long tables = 0;         // served the source table
    long refused = 0;        // 401, 404 and malformed requests
    long drops = 0;          // closed on purpose after dropAfterBytes
    long ggaReceived = 0;    // GGA sentences from clients
    int64_t bytesSent = 0;   // stream bytes (without chunk framing)
};

class NtripCaster {
public:
    // Reads the files and starts listening; throws pppio::ReadError for a
    // file, std::runtime_error when the port cannot be bound.
    NtripCaster(const std::vector<CasterMount>& mounts, const CasterOptions& options);
    ~NtripCaster();
    NtripCaster(const NtripCaster&) = delete;
    NtripCaster& operator=(const NtripCaster&) = delete;

    int port() const { return m_port; }
    CasterStats stats() const;
    std::string sourceTable() const;   // the text served at "/"

private:
    struct Mount;
    struct Client;
    struct Counters {
        std::atomic<long> connections{0}, streams{0}, tables{0}, refused{0}, drops{0}, ggaReceived{0};
        std::atomic<int64_t> bytesSent{0};
    };

    void run();
    void accept(std::vector<std::unique_ptr<Client>>& clients);
    void answer(Client& client);
    void receive(Client& client);
    void stream(Client& client, int64_t nowMs);
    Mount* findMount(const std::string& name);

    std::vector<std::unique_ptr<Mount>> m_mounts;
    CasterOptions m_options;
    int m_listener = -1;
    int m_port = 0;
    int m_dropsLeft;
    Counters m_counters;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

}  // namespace ppprt

#endif
