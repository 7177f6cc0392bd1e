#include "simcam/slow_writes.h"

#include "simcam/register_names.h"
#include "simcam/text.h"

#include <algorithm>

namespace simcam {

namespace {

std::optional<SlowWrite> parseOne(std::string_view text) {
    const auto parts = words(text);
    SlowWrite slow;
    if (parts.empty() || parts.size() > 2) {
        return std::nullopt;
    }
    const auto ms = parseUnsigned(parts[0], static_cast<std::uint64_t>(kMaxLatency.count()));
    if (parts.size() == 2) {
        slow.only = parseRegister(parts[1]);
    }
    slow.time = milliseconds(ms.value_or(0));
    return ms && (parts.size() == 1 || slow.only) ? std::optional(slow) : std::nullopt;
}

} // namespace

std::optional<std::vector<SlowWrite>> parseSlowWrites(std::string_view text, std::string& error) {
    std::vector<SlowWrite> all;
    if (words(text).empty()) {
        return all;
    }
    for (const std::string_view piece : split(text, ';')) {
        const auto slow = parseOne(piece);
        if (!slow) {
            error = "'" + std::string(piece) + "' is not a time up to " +
                    std::to_string(kMaxLatency.count()) + " ms, with or without a register";
            return std::nullopt;
        }
        all.push_back(*slow);
    }
    return all;
}

milliseconds timeOfWrite(const std::vector<SlowWrite>& slow, Address begin, Address end) {
    const auto fits = [&](const SlowWrite& row) {
        return row.only ? begin <= *row.only && *row.only < end : begin >= bootstrap::kManufacturerSpecific;
    };
    const auto found = std::ranges::find_if(slow, fits);
    return found == slow.end() ? milliseconds(0) : found->time;
}

} // namespace simcam
