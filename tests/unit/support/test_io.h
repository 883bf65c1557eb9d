// What tests read and write around the code under test: standard output captured at the
// descriptor level (so lines from other threads, Fast DDS's logging thread say, are caught
// too) and small files in the test's temporary directory.
#ifndef QOR_TESTS_UNIT_SUPPORT_TEST_IO_H
#define QOR_TESTS_UNIT_SUPPORT_TEST_IO_H

#include <gtest/gtest.h>
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
    for (size_t count; (count = std::fread(buffer, 1, sizeof buffer, capture)) > 0;) {
        text.append(buffer, count);
    }
    std::fclose(capture);
    return text;
}

// Writes `text` to a file called `name` in the temporary directory; returns its path.
inline std::string writeTempFile(const std::string& name, const std::string& text) {
    std::string path = testing::TempDir() + name;
    std::FILE* file = std::fopen(path.c_str(), "w");
    std::fputs(text.c_str(), file);
    std::fclose(file);
    return path;
}

}  // namespace qortest

#endif
