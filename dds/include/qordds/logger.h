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
    // The process-wide logger. The first call replaces Fast DDS's own console output with
    // ours, so it must come before any Fast DDS entity exists.
    static DDSLogger* get_instance();

    // Writes out whatever Fast DDS has queued and stops its logging thread. Entries raised
    // afterwards still come out (the thread restarts). Safe to call twice and before exit.
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
