// The middleware logger: where the binding's own diagnostics and Fast DDS's log entries go.
// It writes whole lines to standard output, filtered by a cumulative verbosity mask and laid
// out by a print format.
#ifndef QOR_DDS_LOGGER_H
#define QOR_DDS_LOGGER_H

// Verbosity bits; each level of the tool adds the next one.
enum : int {
    DDS_LOG_VERBOSITY_SILENT = 0x00,
    DDS_LOG_VERBOSITY_FATAL = 0x01,
    DDS_LOG_VERBOSITY_ERROR = 0x02,
    DDS_LOG_VERBOSITY_WARNING = 0x04,
    DDS_LOG_VERBOSITY_LOCAL_INFO = 0x08,
    DDS_LOG_VERBOSITY_REMOTE_INFO = 0x10,
    DDS_LOG_VERBOSITY_ALL_INFO = 0x20,
};

class DDSLogger {
  public:
    // The process-wide logger, created (and hooked into Fast DDS's log) on first use.
    static DDSLogger* get_instance();

    // Writes out whatever is pending and unhooks from Fast DDS's log. Safe to call twice.
    static void finalize();

    void set_verbosity(int mask);
    int get_verbosity() const;

    // What each line carries besides the message; the bits are documented in logger.cpp.
    void set_print_format(int format);
    int get_print_format() const;

  private:
    DDSLogger() = default;
};

#endif
