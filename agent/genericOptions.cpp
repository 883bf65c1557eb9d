// The generic options that every tool built on KestAgent accepts.
#include <strings.h>

#include <cstdio>
#include <cstring>

#include "agent/kestAgent.h"
#include "qordds/string.h"

namespace {

enum class ValueKind { None, Text, Integer };

// What the matcher took for one option: the value, and where the option and value sit.
struct MatchedOption {
    int* index;
    char** argv;
    char* text;
    int number;
};

const int MAX_VERBOSITY = 5;
const int MAX_LOG_FORMAT = 65535;
// The limit printed when a list option is full; it is the same for both lists, on purpose.
const int LIST_LIMIT_IN_MESSAGES = 1024;
const int DISCOVERY_PLUGIN_SDP = 0x03;
const int DISCOVERY_PLUGIN_SDP2 = 0x12;

}  // namespace

// Splits "lib::prof": exactly one pair of adjacent colons, with text on both sides.
static bool splitQosProfile(const char* value, char** library, char** profile) {
    const char* firstColon = std::strchr(value, ':');
    const char* lastColon = std::strrchr(value, ':');
    if (firstColon == nullptr || firstColon == value || lastColon != firstColon + 1 ||
        lastColon[1] == '\0') {
        return false;
    }
    size_t libraryLength = static_cast<size_t>(firstColon - value);
    DDS_String_free(*library);
    *library = DDS_String_alloc(libraryLength);
    if (*library != nullptr) {
        std::memcpy(*library, value, libraryLength);
    }
    DDS_String_replace(profile, lastColon + 1);
    return true;
}

// Appends a copy of the value to a list option (partitions, peers). A value that looks like
// an option means the list option's own value is missing: the index goes back to the option
// so that the caller names it.
static int appendToList(MatchedOption& matched, char** list, int* count, int limit,
                        const char* exceededFormat, const char* missingFormat) {
    if (*count >= limit) {
        std::printf(exceededFormat, LIST_LIMIT_IN_MESSAGES);
        return KestAgent::PARSE_WRONG;
    }
    if (matched.text[0] == '-') {
        --*matched.index;
        std::printf(missingFormat, matched.text, matched.argv[*matched.index]);
        return KestAgent::PARSE_WRONG;
    }
    list[*count] = DDS_String_dup(matched.text);
    ++*count;
    return KestAgent::PARSE_CONSUMED;
}

// The option table is data, one entry per option in the order of the usage page, not a
// procedure to split.
// NOLINTNEXTLINE(readability-function-size)
int KestAgent::parseArgument(int* index, char** argv, int argc) {
    typedef int (*Apply)(KestAgent & agent, MatchedOption & matched);
    struct Option {
        const char* name;
        ValueKind value;
        Apply apply;
    };
    // Tested in this order; an abbreviation goes to the first option it is a prefix of.
    static const Option options[] = {
        {"-help", ValueKind::None,
         [](KestAgent& agent, MatchedOption&) {
             agent.printUsage();
             return static_cast<int>(PARSE_STOP);
         }},
        {"-qosFile", ValueKind::Text,
         [](KestAgent& agent, MatchedOption& matched) {
             DDS_String_replace(&agent.qosFile, matched.text);
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-qosProfile", ValueKind::Text,
         [](KestAgent& agent, MatchedOption& matched) {
             if (!splitQosProfile(matched.text, &agent.qosProfileLibrary, &agent.qosProfileName)) {
                 return static_cast<int>(PARSE_WRONG);
             }
             DDS_String_replace(&agent.qosProfile, matched.text);
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-version", ValueKind::None,
         [](KestAgent&, MatchedOption&) {
             printVersion();
             return static_cast<int>(PARSE_STOP);
         }},
        {"-domainId", ValueKind::Integer,
         [](KestAgent& agent, MatchedOption& matched) {
             if (matched.number < 0) {
                 std::printf("Invalid domain number: %d (must be greater than 0)\n",
                             matched.number);
                 return static_cast<int>(PARSE_WRONG);
             }
             agent.domainId = matched.number;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-domainTag", ValueKind::Text,
         [](KestAgent& agent, MatchedOption& matched) {
             DDS_String_replace(&agent.domainTag, matched.text);
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-index", ValueKind::Integer,
         [](KestAgent& agent, MatchedOption& matched) {
             // -1 asks for automatic selection; the message leaves it out.
             if (matched.number < -1 || matched.number > 50) {
                 std::printf("Invalid participant index: %d (must be between 0 and 50)\n",
                             matched.number);
                 return static_cast<int>(PARSE_WRONG);
             }
             agent.participantIndex = matched.number;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-appId", ValueKind::Integer,
         [](KestAgent& agent, MatchedOption& matched) {
             if (matched.number < 0) {
                 std::printf("Invalid appId: %d. Must be a positive integer\n", matched.number);
                 return static_cast<int>(PARSE_WRONG);
             }
             agent.appId = matched.number;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-verbosity", ValueKind::Integer,
         [](KestAgent& agent, MatchedOption& matched) {
             if (matched.number < 0) {
                 std::printf("Invalid verbosity value: %d (must be >=0, and <= %d)\n",
                             matched.number, MAX_VERBOSITY);
                 return static_cast<int>(PARSE_WRONG);
             }
             if (matched.number > MAX_VERBOSITY) {
                 std::printf("Verbosity value: %d exceeds maximum of %d. Using the maximum value\n",
                             matched.number, MAX_VERBOSITY);
                 agent.verbosity = MAX_VERBOSITY;
                 return static_cast<int>(PARSE_CONSUMED);
             }
             agent.verbosity = matched.number;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-LogFormat", ValueKind::Integer,
         [](KestAgent& agent, MatchedOption& matched) {
             // The upper bound only appears in the message; the logger takes any format.
             if (matched.number < 0) {
                 std::printf("Invalid log format value: %d (must be >=0, and <= %d)\n",
                             matched.number, MAX_LOG_FORMAT);
                 return static_cast<int>(PARSE_WRONG);
             }
             agent.logFormat = matched.number;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-discoveryTTL", ValueKind::Integer,
         [](KestAgent& agent, MatchedOption& matched) {
             if (matched.number < 0 || matched.number > 255) {
                 std::printf("Invalid DiscoveryTTL value: %d  Must be between 1 and 255\n",
                             matched.number);
                 return static_cast<int>(PARSE_WRONG);
             }
             agent.discoveryTTL = matched.number;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-participantPartition", ValueKind::Text,
         [](KestAgent& agent, MatchedOption& matched) {
             return appendToList(matched, agent.participantPartitions,
                                 &agent.participantPartitionCount, MAX_PARTICIPANT_PARTITIONS,
                                 "Number of partitions exceeded. Maximum is %d\n",
                                 "Missing or invalid partition '%s' following the %s option\n");
         }},
        {"-peer", ValueKind::Text,
         [](KestAgent& agent, MatchedOption& matched) {
             return appendToList(matched, agent.peers, &agent.peerCount, MAX_PEERS,
                                 "Number of peers exceeded. Maximum is %d\n",
                                 "Missing or invalid peer '%s' following the %s option\n");
         }},
        {"-discoveryPlugins", ValueKind::Text,
         [](KestAgent& agent, MatchedOption& matched) {
             agent.discoveryPluginSet = true;
             if (strcasecmp(matched.text, "SDP") == 0) {
                 agent.discoveryPlugin = DISCOVERY_PLUGIN_SDP;
             } else if (strcasecmp(matched.text, "SDP2") == 0) {
                 agent.discoveryPlugin = DISCOVERY_PLUGIN_SDP2;
             } else {
                 std::printf(
                     "Invalid value \"%s\" for '-discoveryPlugins'. It must be: 'SDP', or "
                     "'SDP2'.\n",
                     matched.text);
                 return static_cast<int>(PARSE_WRONG);
             }
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-transport", ValueKind::Integer,
         [](KestAgent& agent, MatchedOption& matched) {
             // Unknown bits are left for participant creation to ignore.
             if (matched.number <= 0) {
                 std::printf(
                     "Invalid transport mask: %d (must be >0 to select at least one "
                     "transport)\n",
                     matched.number);
                 return static_cast<int>(PARSE_WRONG);
             }
             agent.transportMask = matched.number;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-msgMaxSize", ValueKind::Integer,
         [](KestAgent& agent, MatchedOption& matched) {
             if (matched.number < -1) {
                 std::printf("Invalid message size: %d\n", matched.number);
                 return static_cast<int>(PARSE_WRONG);
             }
             agent.msgMaxSize = matched.number;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-shmRcvSize", ValueKind::Integer,
         [](KestAgent& agent, MatchedOption& matched) {
             if (matched.number < -1) {
                 std::printf("Invalid shmem size: %d\n", matched.number);
                 return static_cast<int>(PARSE_WRONG);
             }
             agent.shmRcvSize = matched.number;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-tcMaxSize", ValueKind::Integer,
         [](KestAgent& agent, MatchedOption& matched) {
             if (matched.number <= 0) {
                 std::printf("Invalid type code max size: %d\n", matched.number);
                 return static_cast<int>(PARSE_WRONG);
             }
             agent.tcMaxSize = matched.number;
             return static_cast<int>(PARSE_CONSUMED);
         }},
    };

    for (const Option& option : options) {
        MatchedOption matched = {index, argv, nullptr, 0};
        int result =
            tryParseArgument(index, argv, argc, option.name,
                             option.value == ValueKind::Text ? &matched.text : nullptr,
                             option.value == ValueKind::Integer ? &matched.number : nullptr);
        if (result != PARSE_NOT_MINE) {
            return result == PARSE_CONSUMED ? option.apply(*this, matched) : result;
        }
    }
    return PARSE_NOT_MINE;
}
