// Captures what a piece of code writes to standard output, at the descriptor level, so that
// lines written by other threads (Fast DDS's logging thread, say) are caught too.
#ifndef QOR_TESTS_UNIT_SUPPORT_CAPTURE_STDOUT_H
#define QOR_TESTS_UNIT_SUPPORT_CAPTURE_STDOUT_H

#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>

namespace qortest {

inline std::string captureStdout(const std::function<void()>& action) {
    std::fflush(stdout);
    std::FILE* capture = std::tmpfile();
    int saved = dup(STDOUT_FILENO);
    dup2(fileno(capture), STDOUT_FILENO);
    action();
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    std::string text;
    std::rewind(capture);
    char buffer[4096];
    size_t count;
    while ((count = std::fread(buffer, 1, sizeof buffer, capture)) > 0) {
        text.append(buffer, count);
    }
    std::fclose(capture);
    return text;
}

}  // namespace qortest

#endif
