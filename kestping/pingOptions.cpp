// The ping tool's own options, its part of the usage page and its part of the summary.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kestPingAgent.h"
#include "qordds/string.h"

namespace {

enum class ValueKind { None, Text, Integer };

struct MatchedOption {
    char* text;
    int number;
};

// Converts a seconds value as typed; false when text follows the number.
bool convertSeconds(const char* text, float* seconds) {
    char* end = nullptr;
    *seconds = static_cast<float>(std::strtod(text, &end));
    return *end == '\0';
}

}  // namespace

// The option table is data, one entry per option in the order of the usage page, not a
// procedure to split.
// NOLINTNEXTLINE(readability-function-size)
int KestPingAgent::parseArgument(int* index, char** argv, int argc) {
    // Generic options come first, so an abbreviation that fits both is a generic option.
    int result = KestAgent::parseArgument(index, argv, argc);
    if (result != PARSE_NOT_MINE) {
        return result;
    }

    typedef int (*Apply)(KestPingAgent & agent, MatchedOption & matched);
    struct Option {
        const char* name;
        ValueKind value;
        Apply apply;
    };
    // Tested in this order; an abbreviation goes to the first option it is a prefix of.
    static const Option options[] = {
        {"-publisher", ValueKind::None,
         [](KestPingAgent& agent, MatchedOption&) {
             return agent.setOperation(Publisher) ? static_cast<int>(PARSE_CONSUMED)
                                                  : static_cast<int>(PARSE_WRONG);
         }},
        {"-subscriber", ValueKind::None,
         [](KestPingAgent& agent, MatchedOption&) {
             agent.setOperation(Subscriber);
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-reliable", ValueKind::None,
         [](KestPingAgent& agent, MatchedOption&) {
             agent.reliable = true;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-multicast", ValueKind::Text,
         [](KestPingAgent& agent, MatchedOption& matched) {
             DDS_String_replace(&agent.multicastAddress, matched.text);
             agent.multicast = true;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-durability", ValueKind::Text,
         [](KestPingAgent& agent, MatchedOption& matched) {
             if (std::strcmp(matched.text, "VOLATILE") == 0) {
                 agent.durability = 0;
             } else if (std::strcmp(matched.text, "TRANSIENT_LOCAL") == 0) {
                 agent.durability = 1;
             } else {
                 std::puts(
                     "Invalid value for -durability. Acceptable values are: VOLATILE | "
                     "TRANSIENT_LOCAL");
                 return static_cast<int>(PARSE_WRONG);
             }
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-sendPeriod", ValueKind::Text,
         [](KestPingAgent& agent, MatchedOption& matched) {
             // Stored before it is checked; a not-a-number value passes the check.
             if (!convertSeconds(matched.text, &agent.sendPeriod) || agent.sendPeriod < 0) {
                 std::printf("Invalid value for sendPeriod: %s (must be >=0, 0=unlimited)\n",
                             matched.text);
                 return static_cast<int>(PARSE_WRONG);
             }
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-timeout", ValueKind::Integer,
         [](KestPingAgent& agent, MatchedOption& matched) {
             if (matched.number < 0) {
                 std::printf("Invalid value for timeout: %d (must be >=0, 0=unlimited)\n",
                             matched.number);
                 return static_cast<int>(PARSE_WRONG);
             }
             agent.timeout = matched.number;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-numSamples", ValueKind::Integer,
         [](KestPingAgent& agent, MatchedOption& matched) {
             if (matched.number < 0) {
                 std::printf("Invalid value for numSamples: %d (must be >=0, 0=unlimited)\n",
                             matched.number);
                 return static_cast<int>(PARSE_WRONG);
             }
             agent.numSamples = matched.number;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-queueSize", ValueKind::Integer,
         [](KestPingAgent& agent, MatchedOption& matched) {
             // 0 passes although the message asks for more.
             if (matched.number < 0) {
                 std::printf("Invalid value for queuSize: %d (must be >0)\n", matched.number);
                 return static_cast<int>(PARSE_WRONG);
             }
             agent.queueSize = matched.number;
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-topicName", ValueKind::Text,
         [](KestPingAgent& agent, MatchedOption& matched) {
             DDS_String_replace(&agent.topicName, matched.text);
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-typeName", ValueKind::Text,
         [](KestPingAgent& agent, MatchedOption& matched) {
             DDS_String_replace(&agent.typeName, matched.text);
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-deadline", ValueKind::Text,
         [](KestPingAgent& agent, MatchedOption& matched) {
             if (!convertSeconds(matched.text, &agent.deadline) || agent.deadline < 0) {
                 std::printf("Invalid value for deadline: %f (must be >=0, 0=unlimited)\n",
                             agent.deadline);
                 return static_cast<int>(PARSE_WRONG);
             }
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-timeFilter", ValueKind::Text,
         [](KestPingAgent& agent, MatchedOption& matched) {
             if (!convertSeconds(matched.text, &agent.timeFilter) || agent.timeFilter < 0) {
                 std::printf(
                     "Invalid value for time-filter duration: %f (must be >=0, 0=unlimited)\n",
                     agent.timeFilter);
                 return static_cast<int>(PARSE_WRONG);
             }
             return static_cast<int>(PARSE_CONSUMED);
         }},
        {"-useKeys", ValueKind::Integer,
         [](KestPingAgent& agent, MatchedOption& matched) {
             if (matched.number < 0) {
                 std::printf("Invalid value for useKeys: %d (must be >0)\n", matched.number);
                 return static_cast<int>(PARSE_WRONG);
             }
             agent.numKeys = matched.number;
             agent.useKeys = matched.number != 0;
             return static_cast<int>(PARSE_CONSUMED);
         }},
    };

    for (const Option& option : options) {
        MatchedOption matched = {nullptr, 0};
        result = tryParseArgument(index, argv, argc, option.name,
                                  option.value == ValueKind::Text ? &matched.text : nullptr,
                                  option.value == ValueKind::Integer ? &matched.number : nullptr);
        if (result != PARSE_NOT_MINE) {
            return result == PARSE_CONSUMED ? option.apply(*this, matched) : result;
        }
    }
    return result;
}

void KestPingAgent::printUsage() {
    KestAgent::printUsage();

    // The defaults shown are fixed texts, whatever the settings are.
    char text[64];
    std::puts("Ping-specific options:");
    printOption("reliable", "Set reliability QoS", nullptr, "default=BEST_EFFORTS");
    std::snprintf(text, sizeof text, "default = %d sample(s)", 1);
    printOption("queueSize ", "Sets the queue size", "NN", text);
    printOption("durability", "Set durability Qos", "TYPE", "default=VOLATILE");
    addToOption("Possible values are:");
    addToOption("VOLATILE | TRANSIENT_LOCAL");
    std::snprintf(text, sizeof text, "default='%s'", "PingTopic");
    printOption("topicName", "Set the topic name", "NAME", text);
    std::snprintf(text, sizeof text, "default='%s'", "PingType");
    printOption("typeName ", "Set the type name", "NAME", text);
    printOption("useKeys", "Publish/Subscribe to Data with a key inside", "NN", nullptr);
    addToOption("NN indicates the number of different values");
    addToOption("for the key.");
    addToOption("NN is only relevent for publishing");
    addToOption("(default is publish a topic with no keys)");
    std::puts("");
    std::puts("Ping publishing options (default):");
    printOption("publisher", "Publish Ping Data", nullptr, "default");
    std::snprintf(text, sizeof text, "default = %d sec", 1);
    printOption("sendPeriod", "Set period for ping samples", "SS", text);
    addToOption("option used only if publishing");
    printOption("numSamples", "Publish NN samples", "NN", "default=UNLIMITED");
    addToOption("option used only if publishing");
    std::puts("Ping subscribing options:");
    printOption("subscriber", "Receive Ping Data", nullptr, nullptr);
    printOption("multicast", "Use multicast", "address", "default=NO_MULTICAST");
    printOption("timeout  ", "Sets a timeout to exit if no data received", "SS", nullptr);
    addToOption("default infinite (i.e. no timeout)");
    addToOption("option used only if -subscriber is speficied");
    printOption("deadline", "Sets subscription DEADLINE QoS", "SS", nullptr);
    addToOption("Units are seconds.");
    addToOption("Default infinite (i.e. no deadline)");
    printOption("timeFilter", "Sets subscription TIME_BASED_FILTER QoS", "SS", nullptr);
    addToOption("Units are seconds.");
    addToOption("Default 0 (i.e. no time-based filter)");
}

static const char* operationLabel(int operation) {
    switch (operation) {
        case Undefined:
            return "Undefined";
        case Publisher:
            return "Publisher";
        case Subscriber:
            return "Subscriber";
        default:
            return "Invalid operation mode";
    }
}

static const char* durabilityLabel(int durability) {
    switch (durability) {
        case 0:
            return "DDS_VOLATILE_DURABILITY_QOS";
        case 1:
            return "DDS_TRANSIENT_LOCAL_DURABILITY_QOS";
        default:
            return "Invalid Durability QoS";
    }
}

void KestPingAgent::printSummary() {
    KestAgent::printSummary();

    std::printf("    operation mode.........: %s\n", operationLabel(operation));
    std::printf("    reliable...............: %s\n", reliable ? "true" : "false");
    std::printf("    multicast..............: %s\n", multicast ? "true" : "false");
    if (multicast) {
        std::printf("    Multicast address......: %s\n",
                    multicastAddress != nullptr ? multicastAddress : "default");
    }
    std::printf("    Number of packets......: %d\n", numSamples);
    std::printf("    durability.............: %s\n", durabilityLabel(durability));
    std::printf("    send period............: %f\n", sendPeriod);
    std::printf("    timeout................: %d\n", timeout);
    std::printf("    queue size.............: %d\n", queueSize);
    std::printf("    topic name.............: %s\n", topicName);
    std::printf("    type  name.............: %s\n", typeName);
    std::printf("    deadline...............: %+7.6f %s\n", deadline,
                deadline == -1.0f ? "(no deadline)" : "");
    std::printf("    time based filter......: %+7.6f %s\n", timeFilter,
                timeFilter == 0.0f ? "(no time-based filter)" : "");
    std::printf("\n");
    std::printf("    use keys...............: %s\n", useKeys ? "yes" : "no");
    std::printf("    num keys...............: %d %s\n", numKeys,
                operation == Publisher && numKeys != 0 ? "" : "(ignored for subs)");
}
