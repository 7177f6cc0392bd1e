// Rows of texts, printed in columns as wide as their widest text.
#pragma once

#include <string>
#include <vector>

namespace gbe {

class Table {
public:
    explicit Table(std::vector<std::string> heading = {}) {
        if (!heading.empty()) {
            add(std::move(heading));
        }
    }

    // Texts as they came from the camera: they are made fit for a terminal.
    void add(std::vector<std::string> row);
    bool empty() const { return m_rows.empty(); }
    // To standard output; `indent` blanks before each row.
    void print(unsigned indent = 0) const;

private:
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace gbe
