// Output taken line by line, for the checks of end-to-end scenarios.
#ifndef QOR_TESTS_E2E_SUPPORT_LINES_H
#define QOR_TESTS_E2E_SUPPORT_LINES_H

#include <cstddef>
#include <string>
#include <vector>

namespace qortest {

using Lines = std::vector<std::string>;

// The lines of `text`, without their newlines; a last line without one counts too.
Lines splitLines(const std::string& text);
// The lines again as text, for failure messages: the first 200 of them, behind a note when
// there are more (a hundred thousand lines are too many to show).
std::string joined(const Lines& lines);
// The lines that begin with `prefix`, in their order.
Lines starting(const Lines& lines, const std::string& prefix);
// How many of the lines are `line`, and how many begin with `prefix`.
size_t count(const Lines& lines, const std::string& line);
size_t countStarting(const Lines& lines, const std::string& prefix);
// `a` followed by `b`: argument lists and expected lines put together.
Lines concat(Lines a, const Lines& b);

}  // namespace qortest

#endif
