#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "io/ReadError.h"
#include "io/TestFiles.h"
#include "rt/Base64.h"
#include "rt/ChunkedDecoder.h"
#include "rt/FileSource.h"
#include "rt/NmeaGga.h"
#include "rt/SourceTable.h"
#include "rt/StreamSource.h"

namespace ppprt {
namespace {

const std::string kExcerpt = std::string(PPP_SOURCE_DIR) + "/tests/data/rt/GMSD7_20121014_head.rtcm3";

std::vector<uint8_t> ReadAll(StreamSource& source, size_t pieces)
{
    std::vector<uint8_t> bytes;
    std::vector<uint8_t> buffer(pieces);
    for (;;) {
        const ReadResult r = source.read(buffer.data(), buffer.size(), 0);
        if (r.status != ReadStatus::Data) {
            EXPECT_EQ(r.status, ReadStatus::End) << r.message;
            return bytes;
        }
        bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + static_cast<long>(r.bytes));
    }
}

TEST(FileSource, PlainAndGzipGiveTheSameBytes)
{
    SourceOptions options;
    auto plain = openSource(kExcerpt, options);
    auto gzip = openSource("file://" + kExcerpt + ".gz", options);
    const std::vector<uint8_t> a = ReadAll(*plain, 4096);
    EXPECT_EQ(a.size(), 12229u);
    EXPECT_EQ(ReadAll(*gzip, 1000), a);
    EXPECT_EQ(readWholeFile(kExcerpt + ".gz"), a);

    EXPECT_THROW(openSource("/nonexistent/stream.rtcm3", options), pppio::ReadError);
    // A gzip file cut in the middle: the bytes before the cut, then an error naming the file.
    const std::string cut = testfiles::scratchPath("cut_excerpt.rtcm3.gz");
    testfiles::writeText(cut, testfiles::readText(kExcerpt + ".gz").substr(0, 4000));
    FileSource truncated(cut);
    uint8_t buffer[65536];
    ReadResult r;
    while ((r = truncated.read(buffer, sizeof(buffer), 0)).status == ReadStatus::Data) {
    }
    EXPECT_EQ(r.status, ReadStatus::Error);
    EXPECT_NE(r.message.find(cut), std::string::npos) << r.message;
}

TEST(SourceAddress, ParsesGoodAndRejectsBadAddresses)
{
    using K = SourceAddress::Kind;
    struct Good { const char* address; K kind; const char* hostOrPath; int port; const char* mount; const char* user;
                  const char* password; NtripVersion version; };
    const Good good[] = {
        {"data/ROVR.rtcm3.gz", K::File, "data/ROVR.rtcm3.gz", 0, "", "", "", NtripVersion::V2},
        {"file:///tmp/a b.rtcm3", K::File, "/tmp/a b.rtcm3", 0, "", "", "", NtripVersion::V2},
        {"tcp://127.0.0.1:5000", K::Tcp, "127.0.0.1", 5000, "", "", "", NtripVersion::V2},
        {"tcp://[::1]:65535", K::Tcp, "::1", 65535, "", "", "", NtripVersion::V2},
        {"ntrip://caster.example.org:2101/MOUNT1", K::Ntrip, "caster.example.org", 2101, "MOUNT1", "", "", NtripVersion::V2},
        {"ntrip1://me:p@ss:w@host:80/RTCM3", K::Ntrip, "host", 80, "RTCM3", "me", "p@ss:w", NtripVersion::V1},
        {"ntrip2://u:@host:2101/", K::Ntrip, "host", 2101, "", "u", "", NtripVersion::V2},
    };
    for (const Good& g : good) {
        const SourceAddress s = parseSourceAddress(g.address);
        EXPECT_EQ(s.kind, g.kind) << g.address;
        EXPECT_EQ(g.kind == K::File ? s.path : s.host, g.hostOrPath) << g.address;
        EXPECT_EQ(s.port, g.port) << g.address;
        EXPECT_EQ(s.mount, g.mount) << g.address;
        EXPECT_EQ(s.user, g.user) << g.address;
        EXPECT_EQ(s.password, g.password) << g.address;
        EXPECT_EQ(s.version, g.version) << g.address;
    }
    const char* bad[] = {"", "file://", "http://host/x", "tcp://host", "tcp://host:0", "tcp://host:70000",
                         "tcp://host:21x", "tcp://:2101", "tcp://::1:2101", "tcp://[::1]2101", "ntrip://host:2101",
                         "ntrip://host:2101/MO UNT", "ntrip://user@host:2101/M", "ntrip://:pw@host:2101/M"};
    for (const char* address : bad)
        EXPECT_THROW(parseSourceAddress(address), SourceError) << address;
    EXPECT_THROW(openSource("ntrip://host:2101/", SourceOptions()), SourceError);   // a stream needs a mount
}

TEST(NtripText, Base64AndGga)
{
    // RFC 4648, section 10.
    const char* vectors[][2] = {{"", ""},          {"f", "Zg=="},         {"fo", "Zm8="},
                                {"foo", "Zm9v"},   {"foob", "Zm9vYg=="},  {"fooba", "Zm9vYmE="},
                                {"foobar", "Zm9vYmFy"}};
    for (const auto& v : vectors)
        EXPECT_EQ(base64Encode(v[0]), v[1]) << v[0];
    EXPECT_EQ(base64Encode(std::string("\xff\xfe\x00", 3)), "//4A");

    // The classic GGA example sentence with its published checksum 47.
    EXPECT_EQ(nmeaChecksum("$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47"), 0x47);
    // The same place written from degrees: 48 deg 07.038 min N, 11 deg 31.000 min E.
    const std::string gga = formatGga(12 * 3600 + 35 * 60 + 19, 48.1173, 11.0 + 31.0 / 60.0, 592.3);
    EXPECT_EQ(gga.substr(0, gga.find('*')), "$GPGGA,123519.00,4807.0380,N,01131.0000,E,1,12,1.0,592.300,M,0.000,M,,");
    EXPECT_EQ(std::stoi(gga.substr(gga.find('*') + 1, 2), nullptr, 16), nmeaChecksum(gga));
    EXPECT_EQ(gga.substr(gga.size() - 2), "\r\n");
    const std::string south = formatGga(86399.996, -33.5, -70.25, -10.0);   // rounds to the next day
    EXPECT_EQ(south.substr(0, 45), "$GPGGA,000000.00,3330.0000,S,07015.0000,W,1,1");
}

TEST(ChunkedDecoder, JoinsChunksSplitAtEveryByte)
{
    const std::string wire = "5\r\nhello\r\n1A;name=x\r\nabcdefghijklmnopqrstuvwxyz\r\n0\r\nTrailer: 1\r\n\r\nEXTRA";
    const std::string payload = "helloabcdefghijklmnopqrstuvwxyz";
    for (size_t piece = 1; piece <= wire.size(); ++piece) {
        ChunkedDecoder decoder;
        std::string got;
        for (size_t at = 0; at < wire.size(); at += piece) {
            std::string part = wire.substr(at, piece);
            got.append(part.data(), decoder.decode(reinterpret_cast<uint8_t*>(&part[0]), part.size()));
        }
        EXPECT_EQ(got, payload) << "pieces of " << piece;
        EXPECT_TRUE(decoder.finished());
    }
    for (const char* broken : {"Z\r\nabc", "3\r\nabcX\r\n", "\r\n", "123456789\r\n"}) {
        ChunkedDecoder decoder;
        std::string part = broken;
        decoder.decode(reinterpret_cast<uint8_t*>(&part[0]), part.size());
        EXPECT_TRUE(decoder.failed()) << broken;
    }
}

TEST(SourceTable, ParsesStrRecords)
{
    const std::string table =
        "CAS;caster.example;2101;EX;Example;0;DEU;50.1;8.7;0.0.0.0;0;http://x\r\n"
        "STR;VRS3;Rome;RTCM 3.3;1004(1),1005(10);2;GPS+GLO;NET1;ITA;41.90;12.50;1;1;sNTRIP;none;B;N;9600;a;b\r\n"
        "STR;BAD;too;few\r\n"
        "STR;ROVR0;Roma;RTCM 3.2;1075(1);2;GPS;EUREF;ITA;41.8;12.4;0;0;gen;none;N;Y;4800;\r\n"
        "ENDSOURCETABLE\r\n";
    const std::vector<SourceTableEntry> e = parseSourceTable(table);
    ASSERT_EQ(e.size(), 2u);
    EXPECT_EQ(e[0].mount, "VRS3");
    EXPECT_EQ(e[0].format, "RTCM 3.3");
    EXPECT_EQ(e[0].formatDetails, "1004(1),1005(10)");
    EXPECT_EQ(e[0].carrier, 2);
    EXPECT_DOUBLE_EQ(e[0].latitude, 41.90);
    EXPECT_DOUBLE_EQ(e[0].longitude, 12.50);
    EXPECT_TRUE(e[0].nmea);
    EXPECT_EQ(e[0].authentication, "B");
    EXPECT_EQ(e[0].bitrate, 9600);
    EXPECT_EQ(e[0].misc, "a;b");
    EXPECT_EQ(e[1].mount, "ROVR0");
    EXPECT_FALSE(e[1].nmea);
    EXPECT_TRUE(e[1].fee);
}

}  // namespace
}  // namespace ppprt
