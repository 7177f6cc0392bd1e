#include "gbe/words.h"

#include "gbe/Failure.h"

namespace gbe {
namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

// Behind the opening mark; leaves `at` on the closing one.
std::string quotedPart(const std::string& line, std::size_t& at) {
    const char mark = line[at++];
    std::string text;
    for (; at < line.size() && line[at] != mark; ++at) {
        at += mark == '"' && line[at] == '\\' && at + 1 < line.size() ? 1 : 0;
        text += line[at];
    }
    if (at >= line.size()) {
        throw Failure("a quotation mark is not closed", ExitStatus::Usage);
    }
    return text;
}

} // namespace

std::vector<std::string> splitWords(const std::string& line) {
    std::vector<std::string> words;
    bool inWord = false;
    for (std::size_t at = 0; at < line.size(); ++at) {
        const char c = line[at];
        if (isBlank(c)) {
            inWord = false;
            continue;
        }
        if (!inWord) {
            if (c == '#') {
                break;
            }
            words.emplace_back();
            inWord = true;
        }
        if (c == '\'' || c == '"') {
            words.back() += quotedPart(line, at);
        } else {
            at += c == '\\' && at + 1 < line.size() ? 1 : 0;
            words.back() += line[at];
        }
    }
    return words;
}

} // namespace gbe
