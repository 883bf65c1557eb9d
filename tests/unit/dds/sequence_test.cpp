// The sequence: elements kept across resizing, strings copied deeply, and each refused
// operation's result and message, a loaned buffer's above all.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "qordds/sequence.h"
#include "tests/unit/support/test_io.h"

namespace {

struct Sample {
    int32_t key;
    int32_t number;
};

// Runs `operation`, which must fail and log `reason`.
void expectRefused(const std::function<bool()>& operation, const std::string& reason) {
    bool result = true;
    std::string log = qortest::captureStdout([&] { result = operation(); });
    EXPECT_FALSE(result) << reason;
    EXPECT_NE(log.find(reason), std::string::npos) << reason << ": " << log;
}

TEST(Sequence, KeepsElementsAndCopiesStringsDeeply) {
    DDSSequence<Sample> seq;
    ASSERT_TRUE(seq.ensure_length(3, 4));
    seq[0] = {1, 10};
    seq[2] = {3, 30};
    ASSERT_TRUE(seq.maximum(8));
    EXPECT_EQ(seq.length(), 3);
    EXPECT_EQ(seq[2].number, 30);
    ASSERT_TRUE(seq.maximum(1));
    EXPECT_EQ(seq.length(), 1);
    EXPECT_EQ(seq[0].key, 1);

    const char* names[] = {"A", "B*"};
    DDS_StringSeq original;
    ASSERT_TRUE(original.from_array(const_cast<char**>(names), 2));
    DDS_StringSeq copy = original;
    DDS_String_replace(&original[0], "changed");
    EXPECT_STREQ(copy[0], "A");
    EXPECT_STREQ(copy[1], "B*");
    ASSERT_TRUE(copy.ensure_length(3, 3));
    EXPECT_STREQ(copy[2], "") << "new string elements are empty, not null";
}

TEST(Sequence, RefusesBadArgumentsWithTheirMessages) {
    DDSSequence<Sample> seq(2);
    ASSERT_TRUE(seq.absolute_maximum(4));
    expectRefused([&] { return seq.maximum(5); }, "new max cannot be larger than absolute maximum");
    expectRefused([&] { return seq.maximum(-1); }, "negative argument");
    expectRefused([&] { return seq.length(-1); }, "negative argument");
    expectRefused([&] { return seq.length(3); }, "new length cannot be larger than maximum");
    expectRefused([&] { return seq.get_reference(0) != nullptr; }, "index out of bounds");
    // The element policies change only while there is no buffer.
    expectRefused(
        [&] { return seq.set_element_allocation_params(DDS_TYPE_ALLOCATION_PARAMS_DEFAULT); },
        "maximum must be 0");
    expectRefused(
        [&] { return seq.set_element_deallocation_params(DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT); },
        "maximum must be 0");
    EXPECT_EQ(seq.maximum(), 2);
}

TEST(Sequence, LoanedBufferRefusesChangesUntilReturned) {
    Sample a = {1, 7}, b = {2, 8};
    Sample* loaned[] = {&a, &b};
    DDSSequence<Sample> seq, other(1);
    expectRefused([&] { return other.loan_discontiguous(loaned, 2, 2); },
                  "maximum must be 0 to take a loan");
    ASSERT_TRUE(seq.loan_discontiguous(loaned, 2, 2));
    EXPECT_FALSE(seq.has_ownership());
    EXPECT_EQ(seq[1].number, 8);
    for (const std::function<bool()>& change : std::vector<std::function<bool()>>{
             [&] { return seq.maximum(5); }, [&] { return seq.length(1); },
             [&] { return seq.copy_from(other); }, [&] { return seq.from_array(&a, 1); },
             [&] { return seq.loan_contiguous(&a, 1, 1); }}) {
        expectRefused(change, "buffer must not be loaned");
        EXPECT_EQ(seq.length(), 2);
        EXPECT_EQ(seq.get_discontiguous_buffer(), loaned);
    }
    ASSERT_TRUE(seq.unloan());
    EXPECT_TRUE(seq.has_ownership());
    EXPECT_EQ(seq.maximum(), 0);
    expectRefused([&] { return seq.unloan(); }, "buffer must be loaned");
}

}  // namespace
