// The header of every run, the version line and the usage page of the generic options.
#include <cstdio>

#include "agent/kestAgent.h"
#include "qordds/version.h"

void KestAgent::printHeader() {
    DDS_ProductVersion_t version = DDS_get_product_version();
    if (version.revision != 0) {
        std::printf("\n%s built with DDS version: %d.%d.%d.%d\n", applicationName, version.major,
                    version.minor, version.release, version.revision);
    } else {
        std::printf("\n%s built with DDS version: %d.%d.%d\n", applicationName, version.major,
                    version.minor, version.release);
    }
    std::printf("~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n");
}

void KestAgent::printVersion() {
    DDS_ProductVersion_t version = DDS_get_product_version();
    const char* text = DDS_get_product_version_text();
    if (version.revision != 0) {
        std::printf("QOR KESTAGENT built with DDS version: %d.%d.%d.%d (%s)\n", version.major,
                    version.minor, version.release, version.revision, text);
    } else {
        std::printf("QOR KESTAGENT built with DDS version: %d.%d.%d (%s)\n", version.major,
                    version.minor, version.release, text);
    }
}

void KestAgent::printUsage() {
    // Formed when the page is printed, so an earlier -domainId shows here.
    char domainDefault[32];
    std::snprintf(domainDefault, sizeof domainDefault, "default %d", domainId);

    std::printf("Usage: qorddsping [options]\n");
    std::puts("Generic options:");
    printOption("help", "Prints this page and exits", nullptr, nullptr);
    printOption("version", "Prints version number and exits", nullptr, nullptr);
    printOption("domainId", "Sets the domainId", "domainId", domainDefault);
    printOption("domainTag",
                "Sets the domainTag, that allows for additional isolation within a domain",
                "domainTag", nullptr);
    printOption("index", "Sets the participant index", "participantIndex", nullptr);
    addToOption("(default -1 --> auto)");
    printOption("appId", "Sets the application id", "application id", "default 0 --> auto");
    printOption("verbosity", "Sets verbosity level", "level", "default 1 --> error");
    addToOption("Possible values 0..5");
    printOption("participantPartition",
                "Adds a partition to the list of partition names in the DDS_DomainParticipant "
                "entity",
                "partition", nullptr);
    addToOption("this argument may be repeated");
    addToOption("to indicate multiple partitions");
    addToOption("the first occurrence of this parameter resets the default partition list");
    addToOption("default: * (if the command-line option qosProfile is used, then the default");
    addToOption("partition is the empty string partition)");
    printOption("peer", "Adds a peer to the peer host list", "address", nullptr);
    addToOption("this argument may be repeated");
    addToOption("to indicate multiple peers");
    printOption("discoveryPlugins", "Configures the Built-in discovery plugin.", "SDP|SDP2",
                nullptr);
    addToOption(
        "\tSDP: Simple Participant Discovery Protocol and Simple Endpoint Discovery Protocol.");
    addToOption(
        "\tSPDP2: Simple Participant Discovery Protocol 2.0 (SPDP2) and Simple Endpoint "
        "Discovery Protocol.");
    addToOption("By default, SDP is used as the discovery plugin.");
    printOption("discoveryTTL", "Sets the TTL used for multicast discovery", "ttl", nullptr);
    addToOption("default -1 uses DDS's built-in settings");
    addToOption("range is 0 =>localhost to 255 => worldwide");
    printOption("transport", "Sets the enabled built-in transports", "mask", nullptr);
    addToOption("(default 3 --> UDPv4 + shmem)");
    addToOption("values: 1=UDPv4, 2=shared memory, 8=UDPv6");
    printOption("msgMaxSize", "Set the maximum message size allowed", "bytes", nullptr);
    addToOption("(default -1 --> use transport default)");
    printOption("shmRcvSize", "Set the shared memory receive buffer size", "bytes", nullptr);
    addToOption("(default -1 --> use transport default)");
    printOption("tcMaxSize", "Maximum size in bytes of a type code", "size", nullptr);
    addToOption("(default 4096)");
    printOption("qosFile", "Load the specified profile file", "file", nullptr);
    printOption("qosProfile", "Load the QoS settings from the profile called", "lib::prof",
                nullptr);
    addToOption("prof contained in the library called lib");
}
