// The typed layer over stand-in untyped endpoints: narrowing, forwarding, loans and their
// return, and the type supports' data operations.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "dds/logger.h"
#include "kestping/pingDataPlugin.h"
#include "kestping/pingDataSupport.h"

namespace {

std::string logged_by(const std::function<void()>& operation) {
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_FATAL | DDS_LOG_VERBOSITY_ERROR);
    testing::internal::CaptureStdout();
    operation();
    return testing::internal::GetCapturedStdout();
}

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

// An untyped writer that remembers the last call.
class StandInWriter : public DDSDataWriter {
  public:
    explicit StandInWriter(const DDSTypePlugin* plugin) : plugin_(plugin) {}
    DDSDataWriterListener* get_listener() override { return nullptr; }
    const DDSTypePlugin* get_type_plugin() override { return plugin_; }
    DDS_ReturnCode_t write_untyped(const void* sample, const DDS_InstanceHandle_t& h) override {
        return remember("write", sample, h);
    }
    DDS_ReturnCode_t dispose_untyped(const void* sample, const DDS_InstanceHandle_t& h) override {
        return remember("dispose", sample, h);
    }
    DDS_ReturnCode_t unregister_instance_untyped(const void* sample,
                                                 const DDS_InstanceHandle_t& h) override {
        return remember("unregister", sample, h);
    }
    DDS_InstanceHandle_t register_instance_untyped(const void* sample) override {
        remember("register", sample, DDS_HANDLE_NIL);
        DDS_InstanceHandle_t handle = DDS_HANDLE_NIL;
        handle.value[0] = 0x42;
        handle.isValid = true;
        return handle;
    }

    std::string last_call;
    const void* last_sample = nullptr;
    DDS_InstanceHandle_t last_handle = DDS_HANDLE_NIL;
    DDS_ReturnCode_t result = DDS_RETCODE_OK;

  private:
    DDS_ReturnCode_t remember(const char* call, const void* sample,
                              const DDS_InstanceHandle_t& handle) {
        last_call = call;
        last_sample = sample;
        last_handle = handle;
        return result;
    }
    const DDSTypePlugin* plugin_;
};

// An untyped reader that lends out the samples it holds, as the binding's reader does:
// an array of sample pointers and a loan of the infos.
class StandInReader : public DDSDataReader {
  public:
    explicit StandInReader(const DDSTypePlugin* plugin) : plugin_(plugin) {}
    DDSDataReaderListener* get_listener() override { return nullptr; }
    const DDSTypePlugin* get_type_plugin() override { return plugin_; }

    DDS_ReturnCode_t read_or_take_untyped(bool take, void*** samples, int32_t* count,
                                          DDS_SampleInfoSeq& infos, int32_t max_samples,
                                          DDS_SampleStateMask sample_states, DDS_ViewStateMask,
                                          DDS_InstanceStateMask) override {
        last_take = take;
        last_max_samples = max_samples;
        last_sample_states = sample_states;
        if (held.empty()) {
            return DDS_RETCODE_NO_DATA;
        }
        if (infos.maximum() != 0 || !infos.has_ownership()) {
            return DDS_RETCODE_PRECONDITION_NOT_MET;
        }
        int32_t n = static_cast<int32_t>(held.size());
        if (max_samples != DDS_LENGTH_UNLIMITED && max_samples < n) {
            n = max_samples;
        }
        lent.clear();
        for (int32_t i = 0; i < n; ++i) {
            lent.push_back(held[i]);
        }
        lent_infos.assign(held_infos.begin(), held_infos.begin() + n);
        infos.loan_contiguous(lent_infos.data(), n, n);
        *samples = lent.data();
        *count = n;
        ++loans_out;
        return DDS_RETCODE_OK;
    }

    DDS_ReturnCode_t return_loan_untyped(void** samples, int32_t count,
                                         DDS_SampleInfoSeq& infos) override {
        returned_samples = samples;
        returned_count = count;
        if (return_result != DDS_RETCODE_OK) {
            return return_result;
        }
        infos.unloan();
        --loans_out;
        return DDS_RETCODE_OK;
    }

    std::vector<void*> held;
    std::vector<DDS_SampleInfo> held_infos;
    std::vector<void*> lent;
    std::vector<DDS_SampleInfo> lent_infos;
    int loans_out = 0;
    bool last_take = false;
    int32_t last_max_samples = 0;
    DDS_SampleStateMask last_sample_states = 0;
    void** returned_samples = nullptr;
    int32_t returned_count = -1;
    DDS_ReturnCode_t return_result = DDS_RETCODE_OK;

  private:
    const DDSTypePlugin* plugin_;
};

DDS_SampleInfo info_with(uint8_t first_handle_byte) {
    DDS_SampleInfo info;
    info.valid_data = true;
    info.instance_handle.value[0] = first_handle_byte;
    return info;
}

struct KeyedReaderFixture : testing::Test {
    KeyedReaderFixture() : untyped(KestKeyedPingData_get_type_plugin_info()) {
        for (KestKeyedPingData& sample : samples) {
            untyped.held.push_back(&sample);
            untyped.held_infos.push_back(info_with(static_cast<uint8_t>(sample.key)));
        }
        typed = KestKeyedPingDataDataReader::narrow(support.create_datareaderI(&untyped));
    }
    ~KeyedReaderFixture() override { support.destroy_datareaderI(typed); }

    KestKeyedPingData samples[3] = {{1, 10}, {2, 11}, {3, 12}};
    StandInReader untyped;
    KestKeyedPingDataTypeSupport support;
    KestKeyedPingDataDataReader* typed = nullptr;
};

TEST(PingNarrow, RefusesMissingAndOtherTypesWithTheirMessages) {
    KestPingDataTypeSupport plain_support;
    KestKeyedPingDataTypeSupport keyed_support;
    StandInWriter plain_untyped(KestPingData_get_type_plugin_info());
    StandInWriter keyed_untyped(KestKeyedPingData_get_type_plugin_info());
    StandInReader keyed_reader_untyped(KestKeyedPingData_get_type_plugin_info());
    DDSDataWriter* plain_writer = plain_support.create_datawriterI(&plain_untyped);
    DDSDataWriter* keyed_writer = keyed_support.create_datawriterI(&keyed_untyped);
    DDSDataReader* keyed_reader = keyed_support.create_datareaderI(&keyed_reader_untyped);
    // A writer whose type support and plugin disagree is refused as well.
    DDSDataWriter* mislabelled = plain_support.create_datawriterI(&keyed_untyped);

    struct Case {
        const char* name;
        std::function<bool()> narrowed;
        const char* message;
    } cases[] = {
        {"null writer", [] { return KestPingDataDataWriter::narrow(nullptr) != nullptr; },
         "null writer"},
        {"null reader", [] { return KestKeyedPingDataDataReader::narrow(nullptr) != nullptr; },
         "null reader"},
        {"keyed writer as plain",
         [&] { return KestPingDataDataWriter::narrow(keyed_writer) != nullptr; },
         "wrong type writer"},
        {"plain writer as keyed",
         [&] { return KestKeyedPingDataDataWriter::narrow(plain_writer) != nullptr; },
         "wrong type writer"},
        {"keyed reader as plain",
         [&] { return KestPingDataDataReader::narrow(keyed_reader) != nullptr; },
         "wrong type reader"},
        {"mislabelled writer",
         [&] { return KestPingDataDataWriter::narrow(mislabelled) != nullptr; },
         "wrong type writer"},
        {"untyped writer",
         [&] { return KestPingDataDataWriter::narrow(&plain_untyped) != nullptr; },
         "wrong type writer"},
    };
    for (const Case& c : cases) {
        bool narrowed = true;
        std::string log = logged_by([&] { narrowed = c.narrowed(); });
        EXPECT_FALSE(narrowed) << c.name;
        EXPECT_TRUE(contains(log, c.message)) << c.name << ": " << log;
    }

    std::string log = logged_by([&] {
        EXPECT_EQ(KestPingDataDataWriter::narrow(plain_writer), plain_writer);
        EXPECT_EQ(KestKeyedPingDataDataWriter::narrow(keyed_writer), keyed_writer);
        EXPECT_EQ(KestKeyedPingDataDataReader::narrow(keyed_reader), keyed_reader);
    });
    EXPECT_EQ(log, "");

    plain_support.destroy_datawriterI(plain_writer);
    plain_support.destroy_datawriterI(mislabelled);
    keyed_support.destroy_datawriterI(keyed_writer);
    keyed_support.destroy_datareaderI(keyed_reader);
    EXPECT_EQ(plain_support.create_datawriterI(nullptr), nullptr);
}

TEST(PingTypedWriter, ForwardsEveryOperationWithTheSampleAndHandle) {
    StandInWriter untyped(KestKeyedPingData_get_type_plugin_info());
    KestKeyedPingDataTypeSupport support;
    KestKeyedPingDataDataWriter* writer =
        KestKeyedPingDataDataWriter::narrow(support.create_datawriterI(&untyped));
    ASSERT_NE(writer, nullptr);
    KestKeyedPingData sample = {1, 7};
    DDS_InstanceHandle_t handle = DDS_HANDLE_NIL;
    handle.value[3] = 9;

    struct Case {
        const char* call;
        std::function<DDS_ReturnCode_t()> operation;
    } cases[] = {
        {"write", [&] { return writer->write(sample, handle); }},
        {"dispose", [&] { return writer->dispose(sample, handle); }},
        {"unregister", [&] { return writer->unregister_instance(sample, handle); }},
    };
    for (const Case& c : cases) {
        untyped.result = DDS_RETCODE_TIMEOUT;
        EXPECT_EQ(c.operation(), DDS_RETCODE_TIMEOUT) << c.call;
        EXPECT_EQ(untyped.last_call, c.call);
        EXPECT_EQ(untyped.last_sample, &sample) << c.call;
        EXPECT_EQ(untyped.last_handle.value[3], 9) << c.call;
    }
    EXPECT_EQ(writer->register_instance(sample).value[0], 0x42);
    EXPECT_EQ(untyped.last_call, "register");
    EXPECT_EQ(writer->get_type_plugin(), KestKeyedPingData_get_type_plugin_info());
    EXPECT_EQ(writer->get_listener(), nullptr);

    KestKeyedPingData* created = writer->create_data();
    ASSERT_NE(created, nullptr);
    EXPECT_EQ(writer->delete_data(created), DDS_RETCODE_OK);
    DDS_ReturnCode_t deleted = DDS_RETCODE_OK;
    EXPECT_TRUE(
        contains(logged_by([&] { deleted = writer->delete_data(nullptr); }), "null sample"));
    EXPECT_EQ(deleted, DDS_RETCODE_BAD_PARAMETER);
    support.destroy_datawriterI(writer);
}

TEST_F(KeyedReaderFixture, TakeLoansIntoEmptySequencesAndReturnLoanGivesItBack) {
    ASSERT_NE(typed, nullptr);
    KestKeyedPingDataSeq data;
    DDS_SampleInfoSeq infos;
    ASSERT_EQ(typed->take(data, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                          DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_OK);
    EXPECT_TRUE(untyped.last_take);
    EXPECT_FALSE(data.has_ownership());
    ASSERT_EQ(data.length(), 3);
    ASSERT_EQ(infos.length(), 3);
    EXPECT_EQ(&data[1], &samples[1]) << "loaned, not copied";
    EXPECT_EQ(data[2].number, 12);
    EXPECT_EQ(infos[2].instance_handle.value[0], 3);

    // While loaned, the sequence refuses to change.
    KestKeyedPingDataSeq other(2);
    struct Case {
        const char* name;
        std::function<bool()> operation;
    } refusals[] = {
        {"resize", [&] { return data.maximum(5); }},
        {"length", [&] { return data.length(1); }},
        {"copy into", [&] { return data.copy_from(other); }},
    };
    for (const Case& c : refusals) {
        bool done = true;
        EXPECT_TRUE(contains(logged_by([&] { done = c.operation(); }), "buffer must not be loaned"))
            << c.name;
        EXPECT_FALSE(done) << c.name;
    }
    DDS_ReturnCode_t again = DDS_RETCODE_OK;
    logged_by([&] {
        again = typed->take(data, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                            DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
    });
    EXPECT_EQ(again, DDS_RETCODE_PRECONDITION_NOT_MET) << "the loan must come back first";

    void** lent = untyped.lent.data();
    ASSERT_EQ(typed->return_loan(data, infos), DDS_RETCODE_OK);
    EXPECT_EQ(untyped.returned_samples, lent);
    EXPECT_EQ(untyped.returned_count, 3);
    EXPECT_EQ(untyped.loans_out, 0);
    EXPECT_TRUE(data.has_ownership());
    EXPECT_TRUE(infos.has_ownership());
    EXPECT_EQ(data.length(), 0);
    EXPECT_EQ(data.maximum(), 0);

    // Nothing loaned: no call reaches the reader.
    untyped.returned_count = -1;
    EXPECT_EQ(typed->return_loan(data, infos), DDS_RETCODE_OK);
    EXPECT_EQ(untyped.returned_count, -1);
}

TEST_F(KeyedReaderFixture, ReturnLoanPassesOnTheReadersRefusal) {
    KestKeyedPingDataSeq data;
    DDS_SampleInfoSeq infos;
    ASSERT_EQ(typed->take(data, infos, 2, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                          DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_OK);
    EXPECT_EQ(data.length(), 2);
    untyped.return_result = DDS_RETCODE_ERROR;
    EXPECT_EQ(typed->return_loan(data, infos), DDS_RETCODE_ERROR);
    EXPECT_FALSE(data.has_ownership()) << "still loaned after a refused return";
    untyped.return_result = DDS_RETCODE_OK;
    EXPECT_EQ(typed->return_loan(data, infos), DDS_RETCODE_OK);
    EXPECT_EQ(untyped.loans_out, 0);
}

TEST_F(KeyedReaderFixture, ReturnLoanToAnotherReaderIsRefused) {
    StandInReader other_untyped(KestKeyedPingData_get_type_plugin_info());
    KestKeyedPingDataDataReader other(&other_untyped);
    KestKeyedPingDataSeq data;
    DDS_SampleInfoSeq infos;
    ASSERT_EQ(typed->take(data, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                          DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_OK);
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    logged_by([&] { result = other.return_loan(data, infos); });
    EXPECT_EQ(result, DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(typed->return_loan(data, infos), DDS_RETCODE_OK);
}

TEST_F(KeyedReaderFixture, SequencesWithAMaximumReceiveCopies) {
    KestKeyedPingDataSeq data(2);
    DDS_SampleInfoSeq infos(2);
    ASSERT_EQ(typed->read(data, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                          DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_OK);
    EXPECT_FALSE(untyped.last_take);
    EXPECT_EQ(untyped.last_max_samples, 2) << "no more than the sequence holds";
    EXPECT_TRUE(data.has_ownership());
    ASSERT_EQ(data.length(), 2);
    EXPECT_NE(&data[0], &samples[0]);
    EXPECT_EQ(data[1].key, 2);
    EXPECT_EQ(infos[1].instance_handle.value[0], 2);
    EXPECT_EQ(untyped.loans_out, 0) << "the loan went back at once";

    DDS_SampleInfoSeq mismatched(1);
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    logged_by([&] {
        result = typed->take(data, mismatched, 1, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                             DDS_ANY_INSTANCE_STATE);
    });
    EXPECT_EQ(result, DDS_RETCODE_PRECONDITION_NOT_MET);
}

TEST_F(KeyedReaderFixture, NextSampleAndNoData) {
    KestKeyedPingData next = {};
    DDS_SampleInfo info;
    ASSERT_EQ(typed->take_next_sample(next, info), DDS_RETCODE_OK);
    EXPECT_EQ(untyped.last_sample_states, DDS_NOT_READ_SAMPLE_STATE);
    EXPECT_EQ(next.key, 1);
    EXPECT_EQ(info.instance_handle.value[0], 1);
    ASSERT_EQ(typed->read_next_sample(next, info), DDS_RETCODE_OK);
    EXPECT_FALSE(untyped.last_take);

    untyped.held.clear();
    KestKeyedPingDataSeq data;
    DDS_SampleInfoSeq infos;
    EXPECT_EQ(typed->take(data, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                          DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_NO_DATA);
    EXPECT_TRUE(data.has_ownership());
    EXPECT_EQ(typed->take_next_sample(next, info), DDS_RETCODE_NO_DATA);
}

TEST(PingTypeSupport, DataOperationsDelegate) {
    EXPECT_STREQ(KestPingDataTypeSupport::get_type_name(), "KestPingData");
    EXPECT_STREQ(KestKeyedPingDataTypeSupport::get_type_name(), "KestKeyedPingData");
    EXPECT_EQ(KestKeyedPingDataTypeSupport::get_typecode(), KestKeyedPingData_get_typecode());

    KestKeyedPingData* sample = KestKeyedPingDataTypeSupport::create_data();
    ASSERT_NE(sample, nullptr);
    KestKeyedPingData source = {4, 5};
    EXPECT_EQ(KestKeyedPingDataTypeSupport::copy_data(sample, &source), DDS_RETCODE_OK);
    EXPECT_EQ(sample->number, 5);
    EXPECT_EQ(KestKeyedPingDataTypeSupport::copy_data(sample, nullptr), DDS_RETCODE_BAD_PARAMETER);

    char buffer[16];
    unsigned int length = 0;
    EXPECT_EQ(KestKeyedPingDataTypeSupport::serialize_data_to_cdr_buffer(nullptr, length, sample),
              DDS_RETCODE_OK);
    EXPECT_EQ(length, 12u);
    length = sizeof buffer;
    EXPECT_EQ(KestKeyedPingDataTypeSupport::serialize_data_to_cdr_buffer_ex(
                  buffer, length, sample, DDS_XCDR2_DATA_REPRESENTATION),
              DDS_RETCODE_OK);
    EXPECT_EQ(length, 16u);
    EXPECT_EQ(KestKeyedPingDataTypeSupport::initialize_data(sample), DDS_RETCODE_OK);
    EXPECT_EQ(sample->key, 0);
    EXPECT_EQ(
        KestKeyedPingDataTypeSupport::deserialize_data_from_cdr_buffer(sample, buffer, length),
        DDS_RETCODE_OK);
    EXPECT_EQ(sample->key, 4);
    EXPECT_EQ(KestKeyedPingDataTypeSupport::deserialize_data_from_cdr_buffer(sample, buffer, 10),
              DDS_RETCODE_ERROR);
    EXPECT_EQ(KestKeyedPingDataTypeSupport::serialize_data_to_cdr_buffer(buffer, length, nullptr),
              DDS_RETCODE_BAD_PARAMETER);

    char text[64];
    length = sizeof text;
    EXPECT_EQ(KestKeyedPingDataTypeSupport::data_to_string(sample, text, length,
                                                           DDS_PRINT_FORMAT_PROPERTY_DEFAULT),
              DDS_RETCODE_OK);
    EXPECT_STREQ(text, "key: 4\nnumber: 5\n");
    testing::internal::CaptureStdout();
    KestKeyedPingDataTypeSupport::print_data(sample);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n    key: 4\n    number: 5\n");

    EXPECT_EQ(KestKeyedPingDataTypeSupport::finalize_data(sample), DDS_RETCODE_OK);
    EXPECT_EQ(KestKeyedPingDataTypeSupport::finalize_data_ex(sample, true), DDS_RETCODE_OK);
    EXPECT_EQ(KestKeyedPingDataTypeSupport::initialize_data_ex(sample, true), DDS_RETCODE_OK);
    EXPECT_EQ(KestKeyedPingDataTypeSupport::delete_data(sample), DDS_RETCODE_OK);
    EXPECT_EQ(KestKeyedPingDataTypeSupport::delete_data_ex(
                  KestKeyedPingDataTypeSupport::create_data_ex(true), true),
              DDS_RETCODE_OK);
    EXPECT_EQ(KestPingDataTypeSupport::initialize_data(nullptr), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(KestPingDataTypeSupport::finalize_data(nullptr), DDS_RETCODE_BAD_PARAMETER);
    DDS_ReturnCode_t deleted = DDS_RETCODE_OK;
    EXPECT_TRUE(
        contains(logged_by([&] { deleted = KestPingDataTypeSupport::delete_data(nullptr); }),
                 "null sample"));
    EXPECT_EQ(deleted, DDS_RETCODE_BAD_PARAMETER);

    DDS_TypeAllocationParams_t no_memory = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT;
    no_memory.allocate_memory = false;
    KestPingData* refused = nullptr;
    logged_by([&] { refused = KestPingDataTypeSupport::create_data(no_memory); });
    EXPECT_EQ(refused, nullptr);
    EXPECT_EQ(KestPingDataTypeSupport::finalize(), DDS_RETCODE_OK);
    EXPECT_EQ(KestKeyedPingDataTypeSupport::finalize(), DDS_RETCODE_OK);
}

TEST(PingTypeSupport, RegistrationRefusesMissingArgumentsWithTheirNames) {
    struct Case {
        const char* name;
        std::function<DDS_ReturnCode_t()> operation;
        DDS_ReturnCode_t result;
        const char* message;
    } cases[] = {
        {"register without participant",
         [] { return KestPingDataTypeSupport::register_type(nullptr, "PingType"); },
         DDS_RETCODE_ERROR, "participant"},
        {"unregister without participant",
         [] { return KestKeyedPingDataTypeSupport::unregister_type(nullptr, "PingType"); },
         DDS_RETCODE_BAD_PARAMETER, "participant"},
    };
    for (const Case& c : cases) {
        DDS_ReturnCode_t result = DDS_RETCODE_OK;
        std::string log = logged_by([&] { result = c.operation(); });
        EXPECT_EQ(result, c.result) << c.name;
        EXPECT_TRUE(contains(log, c.message)) << c.name << ": " << log;
    }
}

}  // namespace
