#include "tests/e2e/support/lines.h"

#include <algorithm>
#include <sstream>

namespace qortest {

Lines splitLines(const std::string& text) {
    Lines lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string joined(const Lines& lines) {
    std::string text = lines.size() > 200 ? "(too long to show)\n" : "";
    for (size_t i = 0; i < lines.size() && i < 200; ++i) {
        text += lines[i] + "\n";
    }
    return text;
}

Lines starting(const Lines& lines, const std::string& prefix) {
    Lines found;
    for (const std::string& line : lines) {
        if (line.rfind(prefix, 0) == 0) {
            found.push_back(line);
        }
    }
    return found;
}

size_t count(const Lines& lines, const std::string& line) {
    return static_cast<size_t>(std::count(lines.begin(), lines.end(), line));
}

size_t countStarting(const Lines& lines, const std::string& prefix) {
    return starting(lines, prefix).size();
}

Lines concat(Lines a, const Lines& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

}  // namespace qortest
