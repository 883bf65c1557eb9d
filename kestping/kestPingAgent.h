// KestPingAgent: the ping tool. Publishes numbered ping samples, or subscribes and reports
// what arrives, on one topic.
#ifndef QOR_KESTPING_KEST_PING_AGENT_H
#define QOR_KESTPING_KEST_PING_AGENT_H

#include <atomic>

#include "agent/kestAgent.h"
#include "qordds/publication.h"
#include "qordds/subscription.h"
#include "qordds/topic.h"

struct KestPingData;
struct KestKeyedPingData;
class KestPingDataDataWriter;
class KestKeyedPingDataDataWriter;
class KESTPingDataWriterListener;
class KestPingDataListener;

enum PingOperation { Undefined = 0, Publisher = 1, Subscriber = 2 };

// Stop request for the publish and subscribe loops, raised by Ctrl+C and SIGTERM
// (kestping/stopSignals.h); the loops clear it when they start and when they end.
extern std::atomic<bool> KESTPING_INTERRUPTED;
// Drops the CTRL+C hint from the listening message; the tool itself never sets it.
extern bool KESTPING_DISABLE_INPUT;

class KestPingAgent : public KestAgent {
  public:
    explicit KestPingAgent(const char* applicationName);
    ~KestPingAgent() override;

    void printUsage() override;
    void printSummary() override;
    int parseArgument(int* index, char** argv, int argc) override;
    bool run() override;

    bool setOperation(PingOperation newOperation);
    PingOperation getOperation();

    bool init_topic();

    bool init_publisher();
    void do_write(int issue);
    bool do_publisher();
    bool shutdown_publisher();

    bool init_subscriber();
    bool do_subscriber();
    bool shutdown_subscriber();

  protected:
    PingOperation operation;
    bool operationLocked;
    bool reliable;
    bool multicast;
    char* multicastAddress;
    int numSamples;
    float sendPeriod;
    int timeout;
    int durability;
    int queueSize;

    DDSPublisher* publisher;
    DDSSubscriber* subscriber;
    DDSTopic* topic;
    DDSDataWriter* dataWriter;
    DDSDataReader* dataReader;
    KestPingDataDataWriter* pingWriter;
    KestKeyedPingDataDataWriter* keyedPingWriter;
    KestPingData* pingSample;
    KestKeyedPingData* keyedPingSample;
    KESTPingDataWriterListener* dataWriterListener;
    KestPingDataListener* readerListener;

    char* topicName;
    char* typeName;
    float timeFilter;
    float deadline;
    bool useKeys;
    int numKeys;

    // The destructor's closing pause, so that peers see the endpoints leave before the
    // participant goes; tests that never create entities shorten it.
    DDS_Duration_t teardownPause;
};

#endif
