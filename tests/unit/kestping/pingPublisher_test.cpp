#include <gtest/gtest.h>

#include <string>

#include "agent/kestAgent.h"
#include "kestping/kestPingAgent.h"
#include "kestping/pingDataSupport.h"
#include "qordds/logger.h"
#include "tests/unit/kestping/fakeEndpoints.h"
#include "tests/unit/support/test_io.h"

namespace {

// A publishing agent whose writers are fakes: do_write runs without a participant.
class FakeWriterAgent : public KestPingAgent {
  public:
    explicit FakeWriterAgent(int keys)
        : KestPingAgent("test"), plain(KestPingDataTYPENAME), keyed(KestKeyedPingDataTYPENAME) {
        teardownPause = DDS_DURATION_ZERO;
        numKeys = keys;
        useKeys = keys != 0;
        pingWriter = KestPingDataDataWriter::narrow(plainSupport.create_datawriterI(&plain));
        keyedPingWriter =
            KestKeyedPingDataDataWriter::narrow(keyedSupport.create_datawriterI(&keyed));
        pingSample = KestPingDataTypeSupport::create_data();
        keyedPingSample = KestKeyedPingDataTypeSupport::create_data();
    }
    ~FakeWriterAgent() override {
        plainSupport.destroy_datawriterI(pingWriter);
        keyedSupport.destroy_datawriterI(keyedPingWriter);
        KestPingDataTypeSupport::delete_data(pingSample);
        KestKeyedPingDataTypeSupport::delete_data(keyedPingSample);
    }

    FakeWriter<KestPingData> plain;
    FakeWriter<KestKeyedPingData> keyed;

  private:
    KestPingDataTypeSupport plainSupport;
    KestKeyedPingDataTypeSupport keyedSupport;
};

// Issues first, first + 1, ... as many as count; what was printed and what the writer did.
TEST(PingPublisher, WritesEachIssueByItsKeyedPhase) {
    const struct {
        const char* name;
        int keys;
        int first;
        int count;
        DDS_ReturnCode_t writeResult;
        int verbosity;
        std::string printed;
        std::string operations;
    } cases[] = {
        {"one key steps through the phases and starts over", 1, 0, 5, DDS_RETCODE_OK, 0, "",
         "write 0/0, dispose 0/1, write 0/2, unregister 0/3, write 0/4"},
        {"a wrapped issue counts as unsigned", 3, -1, 1, DDS_RETCODE_OK, 1,
         "Sending data...   key: 0000000 value: dispose\n", "dispose 0/-1"},
        {"a failed write is reported after the value", 0, 7, 1, DDS_RETCODE_ERROR, 1,
         "Sending data...   value: 0000007 \nwrite error 1\n", "write 7"},
        {"a failed dispose is reported as a write error", 1, 1, 1, DDS_RETCODE_OUT_OF_RESOURCES, 1,
         "Sending data...   key: 0000000 value: dispose\nwrite error 5\n", "dispose 0/1"},
        {"silent at verbosity 0, errors included", 0, 7, 1, DDS_RETCODE_ERROR, 0, "", "write 7"},
    };
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_SILENT);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        FakeWriterAgent agent(c.keys);
        agent.plain.result = agent.keyed.result = c.writeResult;
        int saved = theVerbosity;
        theVerbosity = c.verbosity;
        std::string printed = qortest::captureStdout([&] {
            for (int i = 0; i < c.count; ++i) {
                agent.do_write(c.first + i);
            }
        });
        theVerbosity = saved;
        EXPECT_EQ(printed, c.printed);
        EXPECT_EQ(c.keys ? agent.keyed.log : agent.plain.log, c.operations);
    }
}

}  // namespace
