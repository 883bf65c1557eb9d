// KestAgent: the frame of a command-line DDS tool. It scans and validates the command line,
// prints the header, usage, version and summary, creates the DomainParticipant from the QoS
// profiles and the generic options, and drives the run from execute() to teardown.
#ifndef QOR_AGENT_KEST_AGENT_H
#define QOR_AGENT_KEST_AGENT_H

#include "qordds/domain.h"
#include "qordds/qos.h"
#include "qordds/types.h"

// Tool verbosity: 0 Silent, 1 Error, 2 Warning, 3 Local Info, 4 Remote Info, 5 All Info.
// Written once by execute() before run(), read everywhere afterwards.
extern int theVerbosity;

// Version-control keyword; nothing reads it.
extern const char* ProductVersion;

// Maps a tool verbosity level to the middleware logger's cumulative verbosity mask.
int QORUtil_getKestVerbosityFromUtilVerbosity(int level);

class KestAgent {
  public:
    // Results of parseArgument.
    enum {
        PARSE_WRONG = 0,     // recognised, but the value is wrong; a message was printed
        PARSE_CONSUMED = 1,  // the option (and its value) was taken
        PARSE_NOT_MINE = 2,  // not an option of this level
        PARSE_STOP = 3,      // -help or -version: end without running
    };

    static const int COMMAND_BUFFER_LENGTH = 512;
    static const int MAX_ARGUMENTS = 32;
    static const int MAX_PARTICIPANT_PARTITIONS = 256;
    static const int MAX_PEERS = 1024;

    KestAgent(const char* applicationName, int domainId);
    virtual ~KestAgent();

    virtual void printUsage();
    virtual void printSummary();
    virtual bool createDomainParticipant();
    virtual int parseArgument(int* index, char** argv, int argc);
    virtual bool run() = 0;

    bool execute(int argc, const char** argv);
    bool execute(const char* commandLine);
    bool initialize(int argc, char** argv);

    void printHeader();
    static void printVersion();

    static bool removeMonitoringProperties(DDS_PropertyQosPolicy& policy);

    // Command-line scanner.
    static bool strcatFromArgv(char* dst, int maxLength, const char* applicationName, int argc,
                               const char** argv);
    static int tokenizeStrIntoArgv(char* dst, unsigned long maxLength, char** argv, int maxArgs,
                                   const char* applicationName, const char* paramStr);
    static int tryParseArgument(int* index, char** argv, int argc, const char* optionName,
                                char** stringValue, int* intValue);
    static void convertFromFloat(DDS_Duration_t& duration, float seconds);
    static void printOption(const char* name, const char* description, const char* valueName,
                            const char* defaultText);
    static void addToOption(const char* text);

  protected:
    char applicationName[64];
    int verbosity;
    int logFormat;
    int domainId;
    char* domainTag;
    int participantIndex;
    int appId;
    int participantPartitionCount;
    char* participantPartitions[MAX_PARTICIPANT_PARTITIONS];
    int peerCount;
    char* peers[MAX_PEERS];
    bool discoveryPluginSet;
    int discoveryPlugin;
    int discoveryTTL;
    int transportMask;
    int msgMaxSize;
    int shmRcvSize;
    int tcMaxSize;
    char* qosFile;
    char* qosProfile;
    char* qosProfileLibrary;
    char* qosProfileName;

    DDSDomainParticipant* participant;
    DDS_ReturnCode_t retcode;

  private:
    KestAgent(const KestAgent&) = delete;
    KestAgent& operator=(const KestAgent&) = delete;
};

#endif
