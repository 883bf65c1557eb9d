#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "dds/logger.h"
#include "dds/sequence.h"

namespace {

struct Sample {
    int32_t key;
    int32_t number;
};

// Runs `operation` and returns what it logged.
std::string logged_by(const std::function<void()>& operation) {
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_FATAL | DDS_LOG_VERBOSITY_ERROR);
    testing::internal::CaptureStdout();
    operation();
    return testing::internal::GetCapturedStdout();
}

TEST(Sequence, GrowsShrinksAndKeepsElements) {
    DDSSequence<Sample> seq;
    EXPECT_EQ(seq.maximum(), 0);
    ASSERT_TRUE(seq.ensure_length(3, 4));
    seq[0] = {1, 10};
    seq[2] = {3, 30};
    ASSERT_TRUE(seq.maximum(8));
    EXPECT_EQ(seq.length(), 3);
    EXPECT_EQ(seq[2].number, 30);
    ASSERT_TRUE(seq.maximum(1));
    EXPECT_EQ(seq.length(), 1);
    EXPECT_EQ(seq[0].key, 1);
}

TEST(Sequence, StringElementsAreDeepCopies) {
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

TEST(Sequence, LoanedBufferRefusesChangesWithItsMessage) {
    Sample a = {1, 7}, b = {2, 8};
    Sample* loaned[] = {&a, &b};
    DDSSequence<Sample> seq;
    ASSERT_TRUE(seq.loan_discontiguous(loaned, 2, 2));
    EXPECT_FALSE(seq.has_ownership());
    EXPECT_EQ(seq[1].number, 8);

    DDSSequence<Sample> other(1);
    struct Case {
        const char* name;
        std::function<bool()> operation;
    } cases[] = {
        {"maximum", [&] { return seq.maximum(5); }},
        {"length", [&] { return seq.length(1); }},
        {"copy_from", [&] { return seq.copy_from(other); }},
        {"from_array", [&] { return seq.from_array(&a, 1); }},
        {"loan_contiguous", [&] { return seq.loan_contiguous(&a, 1, 1); }},
    };
    for (const Case& c : cases) {
        bool result = true;
        std::string log = logged_by([&] { result = c.operation(); });
        EXPECT_FALSE(result) << c.name;
        EXPECT_NE(log.find("buffer must not be loaned"), std::string::npos)
            << c.name << ": " << log;
        EXPECT_EQ(seq.length(), 2) << c.name;
        EXPECT_EQ(seq.get_discontiguous_buffer(), loaned) << c.name;
    }

    ASSERT_TRUE(seq.unloan());
    EXPECT_TRUE(seq.has_ownership());
    EXPECT_EQ(seq.maximum(), 0);
    bool again = true;
    EXPECT_NE(logged_by([&] { again = seq.unloan(); }).find("buffer must be loaned"),
              std::string::npos);
    EXPECT_FALSE(again);
}

TEST(Sequence, RefusesBadArgumentsWithTheirMessages) {
    DDSSequence<Sample> seq(2);
    ASSERT_TRUE(seq.absolute_maximum(4));
    struct Case {
        const char* name;
        std::function<bool()> operation;
        const char* message;
    } cases[] = {
        {"above absolute maximum", [&] { return seq.maximum(5); },
         "new max cannot be larger than absolute maximum"},
        {"negative maximum", [&] { return seq.maximum(-1); }, "negative argument"},
        {"negative length", [&] { return seq.length(-1); }, "negative argument"},
        {"length above maximum", [&] { return seq.length(3); }, "larger than maximum"},
        {"index out of bounds", [&] { return seq.get_reference(0) != nullptr; },
         "index out of bounds"},
    };
    for (const Case& c : cases) {
        bool result = true;
        std::string log = logged_by([&] { result = c.operation(); });
        EXPECT_FALSE(result) << c.name;
        EXPECT_NE(log.find(c.message), std::string::npos) << c.name << ": " << log;
    }
    EXPECT_EQ(seq.maximum(), 2);
}

TEST(Sequence, AllocationPolicyChangesOnlyWithoutABuffer) {
    DDSSequence<Sample> seq;
    DDS_TypeAllocationParams_t no_pointers = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT;
    no_pointers.allocate_pointers = false;
    ASSERT_TRUE(seq.set_element_allocation_params(no_pointers));
    EXPECT_FALSE(seq.get_element_allocation_params().allocate_pointers);
    DDS_TypeDeallocationParams_t keep_pointers = {false, true};
    ASSERT_TRUE(seq.set_element_deallocation_params(keep_pointers));
    EXPECT_FALSE(seq.get_element_deallocation_params().delete_pointers);

    ASSERT_TRUE(seq.maximum(1));
    bool changed = true;
    EXPECT_NE(logged_by([&] {
                  changed = seq.set_element_allocation_params(DDS_TYPE_ALLOCATION_PARAMS_DEFAULT);
              }).find("maximum must be 0"),
              std::string::npos);
    EXPECT_FALSE(changed);
    EXPECT_FALSE(seq.get_element_allocation_params().allocate_pointers);
    EXPECT_FALSE(seq.set_element_deallocation_params(DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT));
}

}  // namespace
