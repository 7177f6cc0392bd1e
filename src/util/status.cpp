#include "util/status.h"

#include <algorithm>
#include <array>

namespace status {
namespace {

struct Row {
    int code;
    const char* text;
};

#define LIOMOL_STATUS_ROW(enumerator, name, code, text) Row{enumerator, text},
constexpr std::array kTable{GBE_STATUS_TABLE(LIOMOL_STATUS_ROW)};
#undef LIOMOL_STATUS_ROW

constexpr bool higherCode(const Row& a, const Row& b) {
    return a.code > b.code;
}

static_assert(
    std::adjacent_find(
        kTable.begin(), kTable.end(), [](const Row& a, const Row& b) { return !higherCode(a, b); }) ==
        kTable.end(),
    "codes descend and are unique");

} // namespace

const char* description(int code) {
    const auto row = std::lower_bound(kTable.begin(), kTable.end(), Row{code, nullptr}, higherCode);
    return row != kTable.end() && row->code == code ? row->text : "unknown error code";
}

} // namespace status
