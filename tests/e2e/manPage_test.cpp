// The manual page against the usage page that the real binary prints: the same options, and
// where the usage page shows a default, the same default in the manual's "Default: X." line.
#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/e2e/support/private_host.h"

namespace {

// Option name -> default token ("" when none is shown).
using Defaults = std::map<std::string, std::string>;

// The first word after a usage-page "default" (at the start of a text, after "(" or "By "):
// "(default = 1 sample(s))" gives 1, "(default='PingTopic')" PingTopic, "By default, SDP is
// used" SDP, "(default is publish ...)" publish, and a bare "(default)" the option itself.
std::string usageDefault(const std::string& name, const std::string& text) {
    std::string lower = text;
    for (char& c : lower) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    for (size_t at = lower.find("default"); at != std::string::npos;
         at = lower.find("default", at + 1)) {
        bool leading = at == 0 || text[at - 1] == '(' || text[at - 1] == '\n' ||
                       (at >= 3 && text.compare(at - 3, 3, "By ") == 0);
        if (!leading) {
            continue;
        }
        size_t from = at + 7;
        while (from < text.size() && std::string(" =:,'").find(text[from]) != std::string::npos) {
            ++from;
        }
        if (text.compare(from, 3, "is ") == 0) {
            from += 3;
        }
        size_t to = text.find_first_of(" )'\n", from);
        std::string word = text.substr(from, to - from);
        return word.empty() ? "-" + name : word;
    }
    return "";
}

// Options of the usage page: "    -name  <value>  - description (default)" and the
// continuation lines under it. Names there may be cut short.
Defaults usagePage(const std::string& page) {
    Defaults options;
    std::istringstream in(page);
    std::string name, text;
    auto flush = [&] {
        if (!name.empty()) {
            options[name] = usageDefault(name, text);
        }
    };
    for (std::string line; std::getline(in, line);) {
        if (line.compare(0, 5, "    -") == 0) {
            flush();
            name = line.substr(5, line.find(' ', 5) - 5);
            size_t dash = line.find(" - ");
            text = dash == std::string::npos ? "" : line.substr(dash + 3);
        } else if (!name.empty() && line.compare(0, 34, std::string(34, ' ')) == 0) {
            text += "\n" + line.substr(34);
        } else {
            flush();
            name.clear();
        }
    }
    flush();
    return options;
}

// Plain text of a roff line: font changes dropped, escaped dashes and quotes resolved.
std::string plain(std::string line) {
    std::string out;
    for (size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '\\' && i + 1 < line.size()) {
            char next = line[i + 1];
            if (next == 'f' && i + 2 < line.size()) {
                i += 2;
                continue;
            }
            if (next == '-') {
                out += '-';
                ++i;
                continue;
            }
        }
        out += line[i];
    }
    return out;
}

// Option entries of the manual: ".TP" then ".B \-name" or ".BI \-name ..." and the paragraph,
// whose "Default: X" gives the default.
Defaults manualPage(const std::string& source) {
    Defaults options;
    std::istringstream in(source);
    std::string name, previous;
    for (std::string line; std::getline(in, line); previous = line) {
        if (previous == ".TP" &&
            (line.compare(0, 5, ".B \\-") == 0 || line.compare(0, 6, ".BI \\-") == 0)) {
            size_t from = line.find("\\-") + 2;
            name = line.substr(from, line.find_first_of(" \"", from) - from);
            options[name] = "";
        } else if (line.compare(0, 3, ".SH") == 0 || line.compare(0, 3, ".SS") == 0 ||
                   line == ".TP") {
            name.clear();
        } else if (!name.empty()) {
            std::string text = plain(line);
            size_t at = text.find("Default: ");
            if (at != std::string::npos) {
                size_t from = at + 9;
                size_t to = text.find_first_of(" \n", from);
                std::string word = text.substr(from, to - from);
                while (!word.empty() && (word.back() == '.' || word.back() == ',')) {
                    word.pop_back();
                }
                options[name] = word;
            }
        }
    }
    return options;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

TEST(ManPage, HasEveryOptionOfTheUsagePageWithItsDefault) {
    qortest::RunResult help = qortest::runPing({"-help"});
    ASSERT_EQ(0, help.exitStatus) << help.output;
    Defaults usage = usagePage(help.output);
    ASSERT_GE(usage.size(), 30u) << help.output;
    Defaults manual = manualPage(readFile(QOR_MAN_PAGE));

    std::map<std::string, int> matched;
    for (const auto& option : usage) {
        // The usage page cuts long names; the manual has them whole.
        std::vector<std::string> candidates;
        for (const auto& entry : manual) {
            if (entry.first.compare(0, option.first.size(), option.first) == 0) {
                candidates.push_back(entry.first);
            }
        }
        EXPECT_EQ(1u, candidates.size()) << "-" << option.first << " in the manual";
        if (candidates.size() != 1) {
            continue;
        }
        ++matched[candidates[0]];
        EXPECT_EQ(option.second, manual[candidates[0]]) << "default of -" << option.first;
    }
    // Only the option that the usage page leaves out is the manual's own.
    for (const auto& entry : manual) {
        if (matched.count(entry.first) == 0) {
            EXPECT_EQ("LogFormat", entry.first);
        }
    }
}

}  // namespace
