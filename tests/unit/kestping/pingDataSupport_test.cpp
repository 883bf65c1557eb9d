// The typed layer over stand-in untyped endpoints: what it refuses and logs, copies into
// sequences of their own, and loans given back.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "kestping/pingDataSupport.h"
#include "qordds/logger.h"
#include "tests/unit/kestping/fakeEndpoints.h"
#include "tests/unit/support/test_io.h"

namespace {

std::string loggedBy(const std::function<void()>& operation) {
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_FATAL | DDS_LOG_VERBOSITY_ERROR);
    return qortest::captureStdout(operation);
}

// Narrowing to the other type, a missing endpoint, sample or participant: each refusal logs
// what was wrong.
TEST(PingTypedLayer, RefusalsLogWhatIsWrong) {
    KestPingDataTypeSupport plainSupport;
    KestKeyedPingDataTypeSupport keyedSupport;
    FakeWriter<KestPingData> plainUntyped(KestPingDataTYPENAME);
    FakeWriter<KestKeyedPingData> keyedUntyped(KestKeyedPingDataTYPENAME);
    FakeReader<KestKeyedPingData> keyedReaderUntyped(KestKeyedPingDataTYPENAME);
    DDSDataWriter* plainWriter = plainSupport.create_datawriterI(&plainUntyped);
    DDSDataWriter* keyedWriter = keyedSupport.create_datawriterI(&keyedUntyped);
    DDSDataReader* keyedReader = keyedSupport.create_datareaderI(&keyedReaderUntyped);
    // The plain type's typed writer around a keyed writer: its plugin gives it away.
    DDSDataWriter* mislabelled = plainSupport.create_datawriterI(&keyedUntyped);

    struct Case {
        std::function<bool()> refused;
        const char* message;
    } cases[] = {
        {[] { return KestPingDataDataWriter::narrow(nullptr) == nullptr; }, "null writer"},
        {[&] { return KestPingDataDataWriter::narrow(keyedWriter) == nullptr; },
         "wrong type writer"},
        {[&] { return KestPingDataDataReader::narrow(keyedReader) == nullptr; },
         "wrong type reader"},
        {[&] { return KestPingDataDataWriter::narrow(mislabelled) == nullptr; },
         "wrong type writer"},
        {[] { return KestPingDataTypeSupport::delete_data(nullptr) == DDS_RETCODE_BAD_PARAMETER; },
         "null sample"},
        {[] {
             return KestPingDataTypeSupport::register_type(nullptr, "PingType") ==
                    DDS_RETCODE_ERROR;
         },
         "participant"},
    };
    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
        bool refused = false;
        std::string log = loggedBy([&] { refused = cases[i].refused(); });
        EXPECT_TRUE(refused) << "case " << i;
        EXPECT_NE(log.find(cases[i].message), std::string::npos) << "case " << i << ": " << log;
    }
    EXPECT_EQ(loggedBy([&] {
                  EXPECT_EQ(KestPingDataDataWriter::narrow(plainWriter), plainWriter);
                  EXPECT_EQ(KestKeyedPingDataDataReader::narrow(keyedReader), keyedReader);
              }),
              "");
    plainSupport.destroy_datawriterI(plainWriter);
    plainSupport.destroy_datawriterI(mislabelled);
    keyedSupport.destroy_datawriterI(keyedWriter);
    keyedSupport.destroy_datareaderI(keyedReader);
}

// A sequence with room of its own receives copies of the samples and infos, no more than it
// holds, and the loan goes back at once; a loan goes back only to the reader that made it.
TEST(PingTypedLayer, CopiesIntoOwnedSequencesAndLoansGoBackToTheirReader) {
    FakeReader<KestKeyedPingData> untyped(KestKeyedPingDataTYPENAME);
    untyped.takes.push_back(
        {{{1, 10}, validInfo()}, {{2, 11}, stateInfo(DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE, 2)}});
    KestKeyedPingDataDataReader reader(&untyped);
    KestKeyedPingDataSeq data(2);
    DDS_SampleInfoSeq infos(2);
    ASSERT_EQ(reader.read(data, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                          DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_OK);
    EXPECT_EQ(untyped.lastMaxSamples, 2);
    EXPECT_TRUE(data.has_ownership());
    ASSERT_EQ(data.length(), 2);
    EXPECT_EQ(data[1].key, 2);
    EXPECT_EQ(data[1].number, 11);
    EXPECT_EQ(infos[1].instance_state, DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE);
    EXPECT_EQ(untyped.loansOut, 0);

    untyped.takes.push_back({{{3, 12}, validInfo()}});
    KestKeyedPingDataSeq loaned;
    DDS_SampleInfoSeq loanedInfos;
    ASSERT_EQ(reader.take(loaned, loanedInfos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                          DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_OK);
    FakeReader<KestKeyedPingData> otherUntyped(KestKeyedPingDataTYPENAME);
    KestKeyedPingDataDataReader other(&otherUntyped);
    DDS_ReturnCode_t returned = DDS_RETCODE_OK;
    loggedBy([&] { returned = other.return_loan(loaned, loanedInfos); });
    EXPECT_EQ(returned, DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(reader.return_loan(loaned, loanedInfos), DDS_RETCODE_OK);
    EXPECT_EQ(untyped.loansOut, 0);
}

}  // namespace
