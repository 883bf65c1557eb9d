// The command-line scanner: joining the arguments into one bounded command string, splitting
// it back into an argument vector, matching one argument against one option, converting float
// seconds into a duration and laying out the lines of the usage page.
#include <strings.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "agent/kestAgent.h"

namespace {

// Joins the arguments; a blank inside an argument therefore stays part of it.
const char ARGUMENT_SEPARATOR = '\x02';

}  // namespace

bool KestAgent::strcatFromArgv(char* dst, int maxLength, const char* applicationName, int argc,
                               const char** argv) {
    // The title is only measured here; it is prepended later by tokenizeStrIntoArgv.
    if (std::strlen(applicationName) > static_cast<size_t>(maxLength)) {
        std::printf("KESTAGENT: Command length exceeds maximum allowed of %d\n", maxLength);
        return false;
    }
    dst[0] = '\0';
    if (argc < 2) {
        return true;
    }
    size_t length = 0;
    for (int i = 1; i < argc; ++i) {
        size_t argumentLength = std::strlen(argv[i]);
        // Separator, argument and terminator must all fit.
        if (length + argumentLength + 2 > static_cast<size_t>(maxLength)) {
            std::printf("Parameter length exceeds maximum allowed of %d\n", maxLength);
            return false;
        }
        dst[length++] = ARGUMENT_SEPARATOR;
        std::memcpy(dst + length, argv[i], argumentLength + 1);
        length += argumentLength;
    }
    return true;
}

int KestAgent::tokenizeStrIntoArgv(char* dst, unsigned long maxLength, char** argv, int maxArgs,
                                   const char* applicationName, const char* paramStr) {
    if (paramStr == nullptr) {
        std::printf("%s: Internal error in tokenizeStrIntoArgv(), NULL paramStr\n",
                    applicationName);
        return -1;
    }
    size_t titleLength = std::strlen(applicationName);
    size_t commandLength = std::strlen(paramStr);
    size_t combinedLength = commandLength + titleLength + 1;
    // A combined length equal to maxLength passes: callers give dst one byte more than
    // maxLength for the terminator.
    if (combinedLength > maxLength) {
        std::printf("%s: Parameter length: %zu exceeds maximum specified of %zu\n", applicationName,
                    combinedLength, static_cast<size_t>(maxLength));
        return -1;
    }
    // Entry 0 is the title plus one blank; the blank is not a separator because the title
    // itself may contain blanks.
    std::memcpy(dst, applicationName, titleLength);
    dst[titleLength] = ' ';
    std::memcpy(dst + titleLength + 1, paramStr, commandLength + 1);
    if (dst[0] == '\0') {
        return 0;
    }

    char* position = dst;
    int count = 0;
    for (;;) {
        char* entry = position;
        while (*position != '\0' && *position != ARGUMENT_SEPARATOR) {
            ++position;
        }
        if (*position == ARGUMENT_SEPARATOR) {
            *position++ = '\0';
            // Consecutive separators come from empty arguments, which vanish.
            while (*position == ARGUMENT_SEPARATOR) {
                ++position;
            }
        }
        argv[count] = entry;
        if (count == maxArgs - 1) {
            // Too many arguments fail without a message of their own.
            return *position != '\0' ? -1 : maxArgs;
        }
        ++count;
        if (*position == '\0') {
            return count;
        }
    }
}

int KestAgent::tryParseArgument(int* index, char** argv, int argc, const char* optionName,
                                char** stringValue, int* intValue) {
    const char* argument = argv[*index];
    size_t length = std::strlen(argument);
    if (length > static_cast<size_t>(INT_MAX)) {
        std::printf("Length of argument %d cannot be represented in an int %zu \n", *index, length);
        return PARSE_WRONG;
    }
    // Any case-insensitive prefix of the option name matches, so the callers' order of tests
    // decides between options that share a prefix.
    if (strncasecmp(argument, optionName, length) != 0) {
        return PARSE_NOT_MINE;
    }
    if (stringValue == nullptr && intValue == nullptr) {
        return PARSE_CONSUMED;
    }
    if (*index == argc - 1) {
        std::printf("Missing value for argument '%s'\n", optionName);
        return PARSE_WRONG;
    }
    ++*index;
    if (stringValue != nullptr) {
        *stringValue = argv[*index];
        return PARSE_CONSUMED;
    }
    char* end = nullptr;
    long value = std::strtol(argv[*index], &end, 10);
    *intValue = static_cast<int>(value);
    if (*end != '\0') {
        std::printf("Missing or mal-formed value following argument '%s'\n", optionName);
        return PARSE_WRONG;
    }
    return PARSE_CONSUMED;
}

void KestAgent::convertFromFloat(DDS_Duration_t& duration, float seconds) {
    // The options that reach here accept any number the user types, "nan" and "1e10"
    // included. Those have no int32_t value, so they saturate rather than give whatever the
    // processor makes of an undefined conversion: not a number is no time, and beyond the
    // range is the longest or shortest duration there is.
    if (seconds != seconds) {
        duration = {0, 0};
        return;
    }
    if (seconds >= 2147483648.0f) {
        duration = {INT32_MAX, 999999999u};
        return;
    }
    if (seconds <= -2147483648.0f) {
        duration = {INT32_MIN, 0};
        return;
    }
    // Single precision throughout, so 1.1 gives 100000024 ns as the float really holds.
    int32_t wholeSeconds = static_cast<int32_t>(seconds);
    float fraction = seconds - static_cast<float>(wholeSeconds);
    float nanoseconds = fraction * 1e9f;
    duration.sec = wholeSeconds;
    // Through a signed value, so a negative fraction wraps instead of being undefined.
    duration.nanosec = static_cast<uint32_t>(static_cast<int32_t>(nanoseconds));
}

void KestAgent::printOption(const char* name, const char* description, const char* valueName,
                            const char* defaultText) {
    // The fixed widths cut long names and value names; the usage page keeps those cuts.
    char parameter[64];
    bool hasValue = valueName != nullptr;
    if (std::snprintf(parameter, sizeof parameter, "-%.18s  %c%.16s%c", name, hasValue ? '<' : ' ',
                      hasValue ? valueName : " ", hasValue ? '>' : ' ') < 0 &&
        theVerbosity >= 1) {
        std::printf("Error creating parameter string");
    }
    bool hasDefault = defaultText != nullptr;
    std::printf("    %-26.26s  - %s %c%s%c\n", parameter, description, hasDefault ? '(' : ' ',
                hasDefault ? defaultText : " ", hasDefault ? ')' : ' ');
}

void KestAgent::addToOption(const char* text) {
    std::printf("    %-26s    %s\n", " ", text);
}
