#include "Table.h"

#include "common/terminal_text.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace gbe {
namespace {

constexpr std::size_t kGap = 2;

} // namespace

void Table::add(std::vector<std::string> row) {
    for (std::string& text : row) {
        text = common::terminalText(text);
    }
    m_rows.push_back(std::move(row));
}

void Table::print(unsigned indent) const {
    std::vector<std::size_t> widths;
    for (const auto& row : m_rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], common::characterCount(row[i]));
        }
    }
    for (const auto& row : m_rows) {
        std::string line(indent, ' ');
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i];
            if (i + 1 < row.size()) {
                line.append(widths[i] + kGap - common::characterCount(row[i]), ' ');
            }
        }
        line.erase(line.find_last_not_of(' ') + 1);
        std::printf("%s\n", line.c_str());
    }
}

} // namespace gbe
