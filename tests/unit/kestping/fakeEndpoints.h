// Untyped endpoints standing in for the binding's, for the typed layer to wrap: a reader lending
// out canned takes and a writer logging what it was asked to do.
#ifndef QOR_TESTS_KESTPING_FAKE_ENDPOINTS_H
#define QOR_TESTS_KESTPING_FAKE_ENDPOINTS_H

#include <cstdint>
#include <deque>
#include <string>
#include <type_traits>
#include <vector>

#include "kestping/pingData.h"
#include "qordds/publication.h"
#include "qordds/subscription.h"

// One element of a canned take: a sample (meaningful only with valid data) and its info.
template <class Sample>
struct Taken {
    Sample sample;
    DDS_SampleInfo info;
};

inline DDS_SampleInfo validInfo() {
    DDS_SampleInfo info;
    info.valid_data = true;
    return info;
}

// An info without data for the instance of `key`, whose handle is the key hash: big-endian key.
inline DDS_SampleInfo stateInfo(DDS_InstanceStateKind state, uint32_t key) {
    DDS_SampleInfo info;
    info.instance_state = state;
    for (int i = 0; i < 4; ++i) {
        info.instance_handle.value[i] = static_cast<unsigned char>(key >> (24 - 8 * i));
    }
    return info;
}

// Lends each canned take once as the binding's reader does, sample pointers and loaned infos;
// every return_loan counts the loan back, whatever it answers.
template <class Sample>
class FakeReader : public DDSDataReader {
  public:
    explicit FakeReader(const char* typeName) : plugin_() { plugin_.type_name = typeName; }

    DDSDataReaderListener* get_listener() override { return nullptr; }
    const DDSTypePlugin* get_type_plugin() override { return &plugin_; }

    DDS_ReturnCode_t read_or_take_untyped(bool, void*** samples, int32_t* count,
                                          DDS_SampleInfoSeq& infos, int32_t maxSamples,
                                          DDS_SampleStateMask, DDS_ViewStateMask,
                                          DDS_InstanceStateMask) override {
        lastMaxSamples = maxSamples;
        if (takeResult != DDS_RETCODE_OK) {
            return takeResult;
        }
        if (takes.empty()) {
            return DDS_RETCODE_NO_DATA;
        }
        current_ = takes.front();
        takes.pop_front();
        pointers_.clear();
        infos_.clear();
        for (Taken<Sample>& taken : current_) {
            pointers_.push_back(&taken.sample);
            infos_.push_back(taken.info);
        }
        int32_t n = static_cast<int32_t>(current_.size());
        *samples = pointers_.data();
        *count = n;
        infos.loan_contiguous(infos_.data(), n, n);
        ++loansOut;
        return DDS_RETCODE_OK;
    }

    DDS_ReturnCode_t return_loan_untyped(void**, int32_t, DDS_SampleInfoSeq& infos) override {
        if (!infos.has_ownership()) {
            infos.unloan();
        }
        --loansOut;
        return returnLoanResult;
    }

    std::deque<std::vector<Taken<Sample>>> takes;
    DDS_ReturnCode_t takeResult = DDS_RETCODE_OK;
    DDS_ReturnCode_t returnLoanResult = DDS_RETCODE_OK;
    int loansOut = 0;
    int32_t lastMaxSamples = 0;

  private:
    DDSTypePlugin plugin_;
    std::vector<Taken<Sample>> current_;
    std::vector<void*> pointers_;
    std::vector<DDS_SampleInfo> infos_;
};

// Logs every operation as "write k/n", "dispose k/n" or "unregister k/n" (key and number;
// "write n" without a key), separated by ", ", and answers `result`.
template <class Sample>
class FakeWriter : public DDSDataWriter {
  public:
    explicit FakeWriter(const char* typeName) : plugin_() { plugin_.type_name = typeName; }

    DDSDataWriterListener* get_listener() override { return nullptr; }
    const DDSTypePlugin* get_type_plugin() override { return &plugin_; }

    DDS_ReturnCode_t write_untyped(const void* sample, const DDS_InstanceHandle_t&) override {
        return record("write", sample);
    }
    DDS_ReturnCode_t dispose_untyped(const void* sample, const DDS_InstanceHandle_t&) override {
        return record("dispose", sample);
    }
    DDS_ReturnCode_t unregister_instance_untyped(const void* sample,
                                                 const DDS_InstanceHandle_t&) override {
        return record("unregister", sample);
    }
    DDS_InstanceHandle_t register_instance_untyped(const void*) override { return DDS_HANDLE_NIL; }

    std::string log;
    DDS_ReturnCode_t result = DDS_RETCODE_OK;

  private:
    DDS_ReturnCode_t record(const char* operation, const void* sample) {
        const Sample& typed = *static_cast<const Sample*>(sample);
        log += (log.empty() ? "" : ", ") + std::string(operation) + " ";
        if constexpr (std::is_same<Sample, KestKeyedPingData>::value) {
            log += std::to_string(typed.key) + "/";
        }
        log += std::to_string(typed.number);
        return result;
    }

    DDSTypePlugin plugin_;
};

#endif
