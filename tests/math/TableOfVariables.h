// Variables of a formula in a test: a table by name that counts what it is asked for.
#pragma once

#include "math/MathVariablesInterface.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

class TableOfVariables : public tavo::MathVariablesInterface {
public:
    TableOfVariables() = default;
    TableOfVariables(std::initializer_list<std::pair<std::string, tavo::MathValue>> rows) : m_rows(rows) {}

    void set(const std::string& name, tavo::MathValue value) {
        const int slot = find(name);
        if (slot != kNoVariable) {
            m_rows[static_cast<std::size_t>(slot)].second = value;
            return;
        }
        m_rows.emplace_back(name, value);
        variablesChanged();
    }
    void set(std::size_t slot, std::int64_t value) { m_rows[slot].second.integer = value; }

    std::int64_t getIntegerVariable(const std::string& name) override {
        return getVariable(find(name)).toInteger();
    }
    double getFloatVariable(const std::string& name) override { return getVariable(find(name)).toFloat(); }
    int resolveVariable(std::string_view name) override {
        ++lookUps;
        return find(name);
    }
    // A variable named NEITHER stands for a node of a kind that is no number.
    tavo::MathValue getVariable(int slot) override {
        ++reads;
        if (slot == kNoVariable || m_rows[static_cast<std::size_t>(slot)].first == "NEITHER") {
            throw 0;
        }
        return m_rows[static_cast<std::size_t>(slot)].second;
    }

    int lookUps = 0;
    int reads = 0;

private:
    int find(std::string_view name) const {
        for (std::size_t i = 0; i < m_rows.size(); ++i) {
            if (m_rows[i].first == name) {
                return static_cast<int>(i);
            }
        }
        return kNoVariable;
    }

    std::vector<std::pair<std::string, tavo::MathValue>> m_rows;
};
