#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "agent/kestAgent.h"
#include "dds/logger.h"
#include "kestping/kestPingAgent.h"
#include "kestping/pingDataSupport.h"
#include "tests/unit/kestping/fakeEndpoints.h"

namespace {

// A publishing agent whose writer is a fake: do_write runs without a participant.
class FakeWriterAgent : public KestPingAgent {
  public:
    explicit FakeWriterAgent(int keys)
        : KestPingAgent("test"),
          plainFake_(KestPingDataTYPENAME),
          keyedFake_(KestKeyedPingDataTYPENAME) {
        teardownPause = DDS_DURATION_ZERO;
        numKeys = keys;
        useKeys = keys != 0;
        if (useKeys) {
            typed_ = keyedSupport_.create_datawriterI(&keyedFake_);
            keyedPingWriter = KestKeyedPingDataDataWriter::narrow(typed_);
            keyedPingSample = KestKeyedPingDataTypeSupport::create_data();
        } else {
            typed_ = plainSupport_.create_datawriterI(&plainFake_);
            pingWriter = KestPingDataDataWriter::narrow(typed_);
            pingSample = KestPingDataTypeSupport::create_data();
        }
    }
    ~FakeWriterAgent() override {
        if (useKeys) {
            KestKeyedPingDataTypeSupport::delete_data(keyedPingSample);
            keyedSupport_.destroy_datawriterI(typed_);
        } else {
            KestPingDataTypeSupport::delete_data(pingSample);
            plainSupport_.destroy_datawriterI(typed_);
        }
        keyedPingSample = nullptr;
        pingSample = nullptr;
    }

    bool ready() const {
        return useKeys ? keyedPingWriter && keyedPingSample : pingWriter && pingSample;
    }
    FakeWriter<KestPingData>& plainFake() { return plainFake_; }
    FakeWriter<KestKeyedPingData>& keyedFake() { return keyedFake_; }

  private:
    FakeWriter<KestPingData> plainFake_;
    FakeWriter<KestKeyedPingData> keyedFake_;
    KestPingDataTypeSupport plainSupport_;
    KestKeyedPingDataTypeSupport keyedSupport_;
    DDSDataWriter* typed_ = nullptr;
};

TEST(PingPublisher, WritesEachIssueByItsKeyedPhase) {
    struct Case {
        const char* name;
        int keys;
        std::vector<int> issues;
        DDS_ReturnCode_t writeResult;
        int verbosity;
        std::string printed;
        std::vector<std::string> operations;
    };
    const std::vector<Case> cases = {
        {"plain",
         0,
         {0, 1},
         DDS_RETCODE_OK,
         1,
         "Sending data...   value: 0000000 \nSending data...   value: 0000001 \n",
         {"write 0", "write 1"}},
        {"two keys over two cycles of four phases",
         2,
         {0, 1, 2, 3, 4, 5, 6, 7},
         DDS_RETCODE_OK,
         1,
         "Sending data...   key: 0000000 value: 0000000\n"
         "Sending data...   key: 0000001 value: 0000001\n"
         "Sending data...   key: 0000000 value: dispose\n"
         "Sending data...   key: 0000001 value: dispose\n"
         "Sending data...   key: 0000000 value: 0000004\n"
         "Sending data...   key: 0000001 value: 0000005\n"
         "Sending data...   key: 0000000 value: unregister\n"
         "Sending data...   key: 0000001 value: unregister\n",
         {"write 0/0", "write 1/1", "dispose 0/2", "dispose 1/3", "write 0/4", "write 1/5",
          "unregister 0/6", "unregister 1/7"}},
        {"one key steps through the phases and starts over",
         1,
         {0, 1, 2, 3, 4},
         DDS_RETCODE_OK,
         0,
         "",
         {"write 0/0", "dispose 0/1", "write 0/2", "unregister 0/3", "write 0/4"}},
        {"a wrapped issue counts as unsigned",
         3,
         {-1},
         DDS_RETCODE_OK,
         1,
         "Sending data...   key: 0000000 value: dispose\n",
         {"dispose 0/-1"}},
        {"a failed write is reported after the value",
         0,
         {7},
         DDS_RETCODE_ERROR,
         1,
         "Sending data...   value: 0000007 \nwrite error 1\n",
         {"write 7"}},
        {"a failed dispose is reported as a write error",
         1,
         {1},
         DDS_RETCODE_OUT_OF_RESOURCES,
         1,
         "Sending data...   key: 0000000 value: dispose\nwrite error 5\n",
         {"dispose 0/1"}},
        {"silent at verbosity 0, errors included", 0, {7}, DDS_RETCODE_ERROR, 0, "", {"write 7"}},
    };
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_SILENT);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FakeWriterAgent agent(c.keys);
        ASSERT_TRUE(agent.ready());
        agent.plainFake().result = c.writeResult;
        agent.keyedFake().result = c.writeResult;
        int saved = theVerbosity;
        theVerbosity = c.verbosity;
        testing::internal::CaptureStdout();
        for (int issue : c.issues) {
            agent.do_write(issue);
        }
        std::string printed = testing::internal::GetCapturedStdout();
        theVerbosity = saved;
        EXPECT_EQ(printed, c.printed);
        EXPECT_EQ(c.keys ? agent.keyedFake().operations : agent.plainFake().operations,
                  c.operations);
    }
}

}  // namespace
