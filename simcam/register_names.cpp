#include "simcam/register_names.h"

#include "simcam/text.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <iterator>

namespace simcam {

namespace {

std::optional<std::uint64_t> bitsOf(const RegisterFact& row, std::string_view value) {
    const unsigned width = row.size * 8;
    const std::uint64_t highest = width == 64 ? UINT64_MAX : (std::uint64_t{1} << width) - 1;
    if (row.kind == Kind::Float) {
        double real = 0;
        const char* end = value.data() + value.size();
        const auto result = std::from_chars(value.data(), end, real);
        const bool sound = result.ec == std::errc() && result.ptr == end;
        const std::uint64_t bits = row.size == 4 ? std::bit_cast<std::uint32_t>(static_cast<float>(real))
                                                 : std::bit_cast<std::uint64_t>(real);
        return sound ? std::optional(bits) : std::nullopt;
    }
    if (row.kind == Kind::Signed && value.starts_with('-')) {
        const auto magnitude = parseUnsigned(value.substr(1), (highest >> 1) + 1);
        return magnitude ? std::optional((~*magnitude + 1) & highest) : std::nullopt;
    }
    return parseUnsigned(value, highest);
}

} // namespace

std::optional<Reg> findRegister(std::string_view name) {
    const auto found = std::ranges::find(kRegisters, name, &RegisterFact::name);
    const auto index = found - kRegisters.begin();
    return found == kRegisters.end() ? std::nullopt : std::optional(static_cast<Reg>(index));
}

std::optional<Place> parseElement(std::string_view text) {
    const std::size_t hash = std::min(text.find('#'), text.size());
    const auto reg = findRegister(text.substr(0, hash));
    if (!reg) {
        return std::nullopt;
    }
    const auto index = hash == text.size() ? std::optional<std::uint64_t>(0)
                                           : parseUnsigned(text.substr(hash + 1), fact(*reg).count - 1);
    return index ? std::optional(Place{*reg, static_cast<std::uint32_t>(*index), 0}) : std::nullopt;
}

std::optional<Address> parseRegister(std::string_view text) {
    if (const auto place = parseElement(text)) {
        return fact(place->reg).address + place->index * fact(place->reg).size;
    }
    const auto number = parseUnsigned(text, 0xFFFFFFFC);
    return number && *number % 4 == 0 ? std::optional(static_cast<Address>(*number)) : std::nullopt;
}

std::optional<std::vector<Content>> parseContents(std::string_view text, std::string& error) {
    std::vector<Content> all;
    for (const std::string_view piece : split(text, ';')) {
        const std::size_t equals = std::min(piece.find('='), piece.size());
        const auto name = words(piece.substr(0, equals));
        const std::string_view value = piece.substr(std::min(equals + 1, piece.size()));
        const auto place = name.size() == 1 ? parseElement(name[0]) : std::nullopt;
        const auto address = name.size() == 1 ? parseRegister(name[0]) : std::nullopt;
        const auto word = place ? std::nullopt : parseUnsigned(value, 0xFFFFFFFF);
        auto bytes = place  ? bytesOf(fact(place->reg), value)
                     : word ? std::optional(Writer().u32(static_cast<std::uint32_t>(*word)).take())
                            : std::nullopt;
        if (!address || !bytes) {
            error = "'" + std::string(piece.substr(0, 64)) + "' is not REGISTER=VALUE";
            return std::nullopt;
        }
        all.push_back({*address, std::move(*bytes)});
    }
    return all;
}

std::optional<Bytes> bytesOf(const RegisterFact& row, std::string_view value) {
    Bytes bytes(row.size);
    if (row.kind == Kind::Text) {
        if (value.size() > bytes.size()) {
            return std::nullopt;
        }
        std::ranges::copy(value, bytes.begin());
        return bytes;
    }
    const auto bits = bitsOf(row, value);
    for (std::uint32_t i = 0; bits && i < row.size; ++i) {
        const std::uint32_t shift = 8 * (row.order == Order::BE ? row.size - 1 - i : i);
        bytes[i] = static_cast<std::uint8_t>(*bits >> shift);
    }
    return bits ? std::optional(bytes) : std::nullopt;
}

std::string textOf(const RegisterFact& row, ByteView bytes) {
    if (row.kind == Kind::Text) {
        std::string text(bytes.begin(), std::ranges::find(bytes, std::uint8_t{0}));
        std::ranges::replace_if(
            text, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '?');
        return text;
    }
    if (row.kind == Kind::Float) {
        constexpr int kDigits = 9;
        char text[32];
        const auto end = std::to_chars(
            std::begin(text), std::end(text), Registers::real(row, bytes), std::chars_format::general,
            kDigits);
        return {text, end.ptr};
    }
    const std::uint64_t number = Registers::number(row, bytes);
    return row.kind == Kind::Signed ? std::to_string(Registers::signExtended(row, number))
                                    : std::to_string(number);
}

} // namespace simcam
