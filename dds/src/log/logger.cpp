// The middleware logger. Fast DDS's own console consumer (coloured text from its logging
// thread) is replaced by one of ours, so that Fast DDS's entries and the binding's own
// diagnostics come out the same way: one whole line each, no colour codes, on standard
// output, filtered by the verbosity mask and laid out by the print format.
//
// Verbosity mask (cumulative; each level of the tool adds the next bit):
//   0x01 fatal (nothing in Fast DDS or the binding is fatal), 0x02 errors, 0x04 warnings,
//   0x08 and up: information (Fast DDS's Info entries, compiled out of Debian's build, and
//   the binding's LogKind::Info); 0x10 the binding's LogKind::RemoteInfo, what it learns of
//   other participants.
//
// Print format bits. Fields appear in the order of this list, separated by blanks, and
// then the message:
//   0x0001  timestamp   local date and time, "YYYY-MM-DD hh:mm:ss.mmm"
//   0x0002  kind        "ERROR", "WARNING" or "INFO"
//   0x0004  origin      "Fast DDS" or "qordds": which layer raised the entry
//   0x0010  category    Fast DDS's category or the binding's context, in brackets
//   0x0008  location    "file:line" where Fast DDS raised the entry (asks Fast DDS for it)
//   0x0020  function    "function():" that raised the entry (asks Fast DDS for it)
//   0x0400  one line    control characters inside the message (line breaks, tabs, escape
//                       sequences) become blanks, so an entry never spans lines
//   0x1000  trimmed     trailing blanks of the message are dropped
//   0x2000  flushed     standard output is flushed after each line, so that entries from
//                       Fast DDS's thread show at once even when the output is a pipe
// Other bits are ignored. The tool's default, 0x3412, gives lines such as
//   ERROR [RTPS_TRANSPORT_SHM] Port 7411 Zombie. Reset the port
//
// Every line is written with one stdio call under the stream's lock, so it never interleaves
// with other lines, whoever writes them; and it goes through the same stdout buffer as the
// tool's own printf lines, so the binding's lines (written at once, in the calling thread)
// keep their place among them.
#include "qordds/logger.h"

#include <fastdds/dds/log/Log.hpp>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "log/log.h"
#include "workarounds/fast_log_filter.h"

namespace fd = eprosima::fastdds::dds;

namespace {

enum : int {
    FORMAT_TIMESTAMP = 0x0001,
    FORMAT_KIND = 0x0002,
    FORMAT_ORIGIN = 0x0004,
    FORMAT_LOCATION = 0x0008,
    FORMAT_CATEGORY = 0x0010,
    FORMAT_FUNCTION = 0x0020,
    FORMAT_ONE_LINE = 0x0400,
    FORMAT_TRIMMED = 0x1000,
    FORMAT_FLUSHED = 0x2000,
};

const int DEFAULT_PRINT_FORMAT = 0x3412;
const int INFO_BITS =
    DDS_LOG_VERBOSITY_LOCAL_INFO | DDS_LOG_VERBOSITY_REMOTE_INFO | DDS_LOG_VERBOSITY_ALL_INFO;

// Plain atomics: read from Fast DDS's logging thread, also while the process exits.
std::atomic<int> verbosity_mask{DDS_LOG_VERBOSITY_FATAL | DDS_LOG_VERBOSITY_ERROR};
std::atomic<int> print_format{DEFAULT_PRINT_FORMAT};
std::atomic<bool> hooked{false};

struct LineEntry {
    int kind_bit;
    const char* origin;
    const char* category;
    const char* file;
    int line;
    const char* function;
    std::string timestamp;
    std::string message;
};

const char* kind_label(int kind_bit) {
    return kind_bit == DDS_LOG_VERBOSITY_ERROR     ? "ERROR"
           : kind_bit == DDS_LOG_VERBOSITY_WARNING ? "WARNING"
                                                   : "INFO";
}

std::string now_timestamp() {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm local;
    localtime_r(&now.tv_sec, &local);
    char text[40];
    size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    std::snprintf(text + length, sizeof text - length, ".%03ld", now.tv_nsec / 1000000);
    return text;
}

std::string format_line(const LineEntry& entry, int format) {
    std::string line;
    auto field = [&line](const std::string& text) {
        if (!line.empty()) {
            line += ' ';
        }
        line += text;
    };
    if ((format & FORMAT_TIMESTAMP) != 0 && !entry.timestamp.empty()) {
        field(entry.timestamp);
    }
    if ((format & FORMAT_KIND) != 0) {
        field(kind_label(entry.kind_bit));
    }
    if ((format & FORMAT_ORIGIN) != 0) {
        field(entry.origin);
    }
    if ((format & FORMAT_CATEGORY) != 0 && entry.category != nullptr && *entry.category) {
        field(std::string("[") + entry.category + "]");
    }
    if ((format & FORMAT_LOCATION) != 0 && entry.file != nullptr) {
        field(std::string(entry.file) + ":" + std::to_string(entry.line));
    }
    if ((format & FORMAT_FUNCTION) != 0 && entry.function != nullptr) {
        field(std::string(entry.function) + "():");
    }

    std::string message = entry.message;
    if ((format & FORMAT_ONE_LINE) != 0) {
        for (char& c : message) {
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
                c = ' ';
            }
        }
    }
    if ((format & FORMAT_TRIMMED) != 0) {
        message.erase(message.find_last_not_of(' ') + 1);
    }
    field(message);
    line += '\n';
    return line;
}

void write_line(const LineEntry& entry) {
    if ((verbosity_mask.load(std::memory_order_relaxed) & entry.kind_bit) == 0) {
        return;
    }
    int format = print_format.load(std::memory_order_relaxed);
    std::string line = format_line(entry, format);
    flockfile(stdout);
    fwrite_unlocked(line.data(), 1, line.size(), stdout);
    if ((format & FORMAT_FLUSHED) != 0) {
        fflush_unlocked(stdout);
    }
    funlockfile(stdout);
}

int kind_bit_of(fd::Log::Kind kind) {
    switch (kind) {
        case fd::Log::Kind::Error:
            return DDS_LOG_VERBOSITY_ERROR;
        case fd::Log::Kind::Warning:
            return DDS_LOG_VERBOSITY_WARNING;
        default:
            return DDS_LOG_VERBOSITY_LOCAL_INFO;
    }
}

// Called from Fast DDS's logging thread, one entry at a time.
class LineConsumer : public fd::LogConsumer {
  public:
    void Consume(const fd::Log::Entry& entry) override {
        try {
            if (qordds::is_known_false_fast_entry(entry.context.category, entry.message)) {
                return;
            }
            write_line({kind_bit_of(entry.kind), "Fast DDS", entry.context.category,
                        entry.context.filename, entry.context.line, entry.context.function,
                        entry.timestamp, entry.message});
        } catch (...) {
            // Out of memory while formatting: the entry is dropped rather than the thread.
        }
    }
};

// Fast DDS produces only what the mask lets through; errors it always produces.
void apply_verbosity_to_fast_dds(int mask) {
    fd::Log::SetVerbosity((mask & INFO_BITS) != 0                   ? fd::Log::Kind::Info
                          : (mask & DDS_LOG_VERBOSITY_WARNING) != 0 ? fd::Log::Kind::Warning
                                                                    : fd::Log::Kind::Error);
}

void apply_format_to_fast_dds(int format) {
    fd::Log::ReportFilenames((format & FORMAT_LOCATION) != 0);
    fd::Log::ReportFunctions((format & FORMAT_FUNCTION) != 0);
}

void hook_into_fast_dds() {
    try {
        fd::Log::ClearConsumers();
        fd::Log::RegisterConsumer(std::unique_ptr<fd::LogConsumer>(new LineConsumer));
        apply_verbosity_to_fast_dds(verbosity_mask.load());
        apply_format_to_fast_dds(print_format.load());
        hooked = true;
    } catch (...) {
        // Fast DDS keeps its own consumer; the binding's lines still come out.
    }
}

}  // namespace

DDSLogger* DDSLogger::get_instance() {
    static DDSLogger logger;
    static std::once_flag hook_once;
    std::call_once(hook_once, hook_into_fast_dds);
    return &logger;
}

void DDSLogger::finalize() {
    // Our consumer stays registered: entries raised later (during teardown, say) restart
    // Fast DDS's thread and still come out, at the latest when Fast DDS flushes at exit.
    if (hooked) {
        try {
            fd::Log::Flush();
            fd::Log::KillThread();
        } catch (...) {
        }
    }
    std::fflush(stdout);
}

void DDSLogger::set_verbosity(int mask) {
    verbosity_mask = mask;
    if (hooked) {
        apply_verbosity_to_fast_dds(mask);
    }
}

int DDSLogger::get_verbosity() const {
    return verbosity_mask;
}

void DDSLogger::set_print_format(int format) {
    print_format = format;
    if (hooked) {
        apply_format_to_fast_dds(format);
    }
}

int DDSLogger::get_print_format() const {
    return print_format;
}

namespace qordds {

namespace {

int bit_of(LogKind kind) {
    return kind == LogKind::Error        ? DDS_LOG_VERBOSITY_ERROR
           : kind == LogKind::Warning    ? DDS_LOG_VERBOSITY_WARNING
           : kind == LogKind::RemoteInfo ? DDS_LOG_VERBOSITY_REMOTE_INFO
                                         : DDS_LOG_VERBOSITY_LOCAL_INFO;
}

}  // namespace

bool log_enabled(LogKind kind) {
    return (verbosity_mask.load(std::memory_order_relaxed) & bit_of(kind)) != 0;
}

void log(LogKind kind, const char* context, const char* format, ...) {
    int bit = bit_of(kind);
    if ((verbosity_mask.load(std::memory_order_relaxed) & bit) == 0) {
        return;
    }
    try {
        va_list args;
        va_start(args, format);
        va_list again;
        va_copy(again, args);
        char small[512];
        int length = std::vsnprintf(small, sizeof small, format, args);
        va_end(args);
        std::string message;
        if (length >= static_cast<int>(sizeof small)) {
            std::vector<char> large(static_cast<size_t>(length) + 1);
            std::vsnprintf(large.data(), large.size(), format, again);
            message.assign(large.data(), static_cast<size_t>(length));
        } else if (length >= 0) {
            message.assign(small, static_cast<size_t>(length));
        }
        va_end(again);
        write_line({bit, "qordds", context, nullptr, 0, nullptr, now_timestamp(), message});
    } catch (...) {
        // Out of memory while formatting: nothing sensible left to report with.
    }
}

}  // namespace qordds
