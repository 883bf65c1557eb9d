// Writes the generated seeds of the fuzz targets into DIR/command_line, DIR/qos_xml and DIR/cdr:
// - command lines of the tests (tests/unit/agent/options_test.cpp, lifecycle_test.cpp,
//   tests/e2e/command_line_test.cpp and hostile_input_test.cpp), arguments separated by NUL;
// - the tool's built-in QoS profile document;
// - ping samples serialized by the ping types' plugins in both XCDR versions and byte orders,
//   whole and key-only, and RTPS messages that carry them: a Cyclone DDS key-only dispose as
//   captured in tests/unit/dds/key_only_repair_test.cpp, the same behind a big-endian INFO_SRC,
//   and messages with ping samples as DATA submessages, as Fast DDS writers send them.
//   fuzz_seed_generator DIR
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "agent/builtinQosProfile.h"
#include "kestping/pingData.h"
#include "kestping/pingDataPlugin.h"

namespace {

typedef std::vector<unsigned char> Bytes;

bool writeSeed(const std::string& path, const void* data, size_t size) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    bool ok = file != nullptr && std::fwrite(data, 1, size, file) == size;
    if (file != nullptr && std::fclose(file) != 0) {
        ok = false;
    }
    if (!ok) {
        std::perror(path.c_str());
    }
    return ok;
}

bool writeSeed(const std::string& path, const Bytes& bytes) {
    return writeSeed(path, bytes.data(), bytes.size());
}

// Command lines as the tests give them, one argument per word.
const char* const kCommandLines[] = {
    "",
    "-help",
    "-",
    "-v",
    "-foo",
    "-domainId 7 -help -foo",
    "-verbosity 2 -participantPartition A -participantPartition B -numSamples 1 -LogFormat 5",
    "-numSamples 1 -sendPeriod 0",
    "-d 5",
    "-DOMAINID 42",
    "-domainT x",
    "-discovery 5",
    "-index 50",
    "-appId 255",
    "-t 1",
    "-transport 12",
    "-msgMaxSize 9000",
    "-s 0",
    "-tcMaxSize 5000",
    "-participantPartition A -p B",
    "-peer 1.2.3.4 -peer ::1",
    "-peer 1@127.0.0.1 -peer shmem://",
    "-publisher -subscriber",
    "-subscriber -publisher",
    "-r",
    "-mu 239.255.0.1",
    "-multicast 1 -multicast 2",
    "-du TRANSIENT_LOCAL -du VOLATILE",
    "-se 0.25",
    "-sendPeriod nan",
    "-ti 4",
    "-n 3",
    "-qu 0",
    "-to T",
    "-ty X",
    "-de 2.5",
    "-timeF 0.5",
    "-u 2",
    "-useKeys 5 -useKeys 0",
    "-useKeys 3 -subscriber",
    "-verb 3 -l 5 -q f.xml -discoveryPlugins sdp2 -qosProfile Lib::Prof",
    "-domainId 0 -index -1 -appId 0 -msgMaxSize -1 -shmRcvSize -1",
    "-tcMaxSize 1 -LogFormat 70000 -discoveryTTL 255",
    "-verbosity 9",
    "-domainId 4 -verbosity -1 -domainId 6",
    "-discoveryPlugins x",
    "-sendPeriod -2",
    "-qosProfile A::B -qosProfile a::b:c",
    "-participantPartition -peer",
    "-durability transient_local",
    "-pee -x",
    "-discoveryPlugins SDP2 -discoveryPlugins SDP -qosF -x",
    "-shmRcvSize 2147483647",
    "-shmRcvSize 300000000",
    "-msgMaxSize 150000000",
    "-qosFile /dev/zero",
    "-qosFile /nonexistent.xml -qosProfile L::P",
    "-domainTag X -topicName PingTopic",
    "-domainId 233",
    "-index 51",
    "-appId -1 -domainTag tag -verbosity 2 -subscriber -timeout 1 -reliable -queueSize 100",
    "-numSamples 2147483647 -sendPeriod 0.001 -useKeys 100000 -deadline 0.1",
};

bool writeCommandLines(const std::string& directory) {
    bool ok = true;
    int index = 0;
    for (const char* line : kCommandLines) {
        std::string seed;
        const char* word = line;
        while (*word != '\0') {
            const char* end = std::strchr(word, ' ');
            size_t length = end != nullptr ? static_cast<size_t>(end - word) : std::strlen(word);
            if (!seed.empty()) {
                seed += '\0';
            }
            seed.append(word, length);
            word += length;
            while (*word == ' ') {
                ++word;
            }
        }
        char name[32];
        std::snprintf(name, sizeof name, "/line%02d", index++);
        ok = writeSeed(directory + name, seed.data(), seed.size()) && ok;
    }
    // Empty arguments and the 31-argument limit.
    std::string thirtyTwo;
    for (int i = 0; i < 32; ++i) {
        thirtyTwo += std::string(i == 0 ? "" : std::string(1, '\0')) + "-reliable";
    }
    ok = writeSeed(directory + "/thirty_two", thirtyTwo.data(), thirtyTwo.size()) && ok;
    const char empties[] = "\0-verbosity\0\0\0000\0";
    ok = writeSeed(directory + "/empties", empties, sizeof empties - 1) && ok;
    return ok;
}

bool writeBuiltinProfile(const std::string& directory) {
    int count = 0;
    const char* const* fragments = KestAgent_getBuiltinQosProfile(&count);
    std::string document;
    for (int i = 0; i < count; ++i) {
        document += fragments[i];
    }
    return writeSeed(directory + "/builtin.xml", document.data(), document.size());
}

// ---- serialized samples and RTPS messages ----

const Bytes kRtpsHeader = {'R',  'T',  'P',  'S',  0x02, 0x01, 0x01, 0x10, 0x01, 0x10,
                           0x4f, 0x70, 0x6a, 0x79, 0x6e, 0x90, 0x7f, 0x5e, 0x42, 0xa9};
const Bytes kInfoTs = {0x09, 0x01, 0x08, 0x00, 0xa4, 0xfb, 0x01, 0x6b, 0x8d, 0xcd, 0xa4, 0x06};

// The key-only dispose of tests/unit/dds/key_only_repair_test.cpp, after the header.
const Bytes kCycloneDisposeData = {
    0x15, 0x0b, 0x28, 0x00, 0x00, 0x00, 0x10, 0x00, 0x00, 0x00, 0x00, 0x00,  // DATA
    0x00, 0x00, 0x01, 0x02, 0x00, 0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00,  // ids, SN
    0x71, 0x00, 0x04, 0x00, 0x00, 0x00, 0x00, 0x01, 0x01, 0x00, 0x00, 0x00,  // inline QoS
    0x00, 0x01, 0x00, 0x00, 0x05, 0x00, 0x00, 0x00,                          // payload
};

void append(Bytes& to, const Bytes& bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

void append16(Bytes& to, unsigned value, bool little) {
    unsigned char low = static_cast<unsigned char>(value & 0xff);
    unsigned char high = static_cast<unsigned char>((value >> 8) & 0xff);
    to.push_back(little ? low : high);
    to.push_back(little ? high : low);
}

// A DATA submessage of writer 0x00000102 with the payload, flags E and D or K, with
// PID_STATUS_INFO inline when `status` is non-zero.
Bytes dataSubmessage(const Bytes& payload, bool little, bool keyOnly, unsigned char status,
                     unsigned char sequence) {
    Bytes body = {0x00, 0x00};  // extra flags
    append16(body, 16, little);
    append(body, {0x00, 0x00, 0x10, 0x04, 0x00, 0x00, 0x01, 0x02});  // reader, writer
    Bytes sn = {0, 0, 0, 0, 0, 0, 0, sequence};
    if (little) {
        sn = {0, 0, 0, 0, sequence, 0, 0, 0};
    }
    append(body, sn);
    unsigned char flags =
        static_cast<unsigned char>((little ? 0x01 : 0x00) | (keyOnly ? 0x08 : 0x04));
    if (status != 0) {
        flags = static_cast<unsigned char>(flags | 0x02);
        append16(body, 0x0071, little);
        append16(body, 4, little);
        append(body, {0, 0, 0, status});
        append16(body, 0x0001, little);
        append16(body, 0, little);
    }
    append(body, payload);
    Bytes submessage = {0x15, flags};
    append16(submessage, static_cast<unsigned>(body.size()), little);
    append(submessage, body);
    return submessage;
}

bool writeCdr(const std::string& directory) {
    bool ok = true;
    KestPingData plain = {42};
    KestKeyedPingData keyed = {7, 1234567};
    Bytes messages = kRtpsHeader;
    append(messages, kInfoTs);
    int index = 0;
    for (DDS_DataRepresentationId_t representation :
         {DDS_XCDR_DATA_REPRESENTATION, DDS_XCDR2_DATA_REPRESENTATION}) {
        for (DDS_CdrByteOrder order : {DDS_CDR_LITTLE_ENDIAN, DDS_CDR_BIG_ENDIAN}) {
            for (bool keyOnly : {false, true}) {
                DDS_CdrEncoding encoding = {representation, order, keyOnly, true};
                char buffer[64];
                unsigned int length = sizeof buffer;
                if (!DDS_TypeCode_serialize(KestKeyedPingData_get_typecode(), &keyed, encoding,
                                            buffer, &length)) {
                    std::fprintf(stderr, "cannot serialize a keyed ping sample\n");
                    return false;
                }
                Bytes payload(buffer, buffer + length);
                char name[40];
                std::snprintf(name, sizeof name, "/keyed%d", index);
                ok = writeSeed(directory + name, payload) && ok;
                bool little = order == DDS_CDR_LITTLE_ENDIAN;
                append(messages, dataSubmessage(payload, little, keyOnly, keyOnly ? 1 : 0,
                                                static_cast<unsigned char>(index + 1)));
                if (!keyOnly) {
                    length = sizeof buffer;
                    if (!DDS_TypeCode_serialize(KestPingData_get_typecode(), &plain, encoding,
                                                buffer, &length)) {
                        std::fprintf(stderr, "cannot serialize a ping sample\n");
                        return false;
                    }
                    std::snprintf(name, sizeof name, "/plain%d", index);
                    ok = writeSeed(directory + name, buffer, length) && ok;
                }
                ++index;
            }
        }
    }
    ok = writeSeed(directory + "/rtps_samples", messages) && ok;

    Bytes dispose = kRtpsHeader;
    append(dispose, kInfoTs);
    append(dispose, kCycloneDisposeData);
    ok = writeSeed(directory + "/rtps_cyclone_dispose", dispose) && ok;

    // INFO_SRC (big-endian) naming another participant, then a big-endian key-only
    // unregistration of key 7.
    Bytes unregister = kRtpsHeader;
    append(unregister, {0x0c, 0x00, 0x00, 0x14, 0, 0, 0, 0, 2, 1,  1,  0x10,
                        1,    2,    3,    4,    5, 6, 7, 8, 9, 10, 11, 12});
    append(unregister, {0x15, 0x0a, 0x00, 0x28, 0x00, 0x00, 0x00, 0x10, 0, 0, 0,
                        0,    0x00, 0x00, 0x01, 0x02, 0,    0,    0,    0, 0, 0,
                        0,    9,    0x00, 0x71, 0x00, 0x04, 0,    0,    0, 2, 0x00,
                        0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0,    0, 0, 7});
    ok = writeSeed(directory + "/rtps_info_src_unregister", unregister) && ok;
    return ok;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: fuzz_seed_generator DIR\n");
        return 2;
    }
    std::string top = argv[1];
    bool ok = true;
    for (const char* target : {"", "/command_line", "/qos_xml", "/cdr"}) {
        if (mkdir((top + target).c_str(), 0755) != 0 && errno != EEXIST) {
            std::perror((top + target).c_str());
            return 1;
        }
    }
    ok = writeCommandLines(top + "/command_line") && ok;
    ok = writeBuiltinProfile(top + "/qos_xml") && ok;
    ok = writeCdr(top + "/cdr") && ok;
    return ok ? 0 : 1;
}
