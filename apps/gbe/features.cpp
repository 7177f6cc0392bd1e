#include "features.h"

#include "Failure.h"
#include "addresses.h"
#include "numbers.h"

#include "liomol/features.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>
#include <set>
#include <thread>

namespace gbe {
namespace {

constexpr const char* kRoot = "Root"; // of the categories
constexpr std::chrono::milliseconds kCommandPoll{10};

// Any other kind than a number, or a register.
std::string readPlainText(CameraHandle* camera, const std::string& name) {
    std::string text;
    unsigned size = 0;
    int code = Gbe_getValueAsString(camera, name.c_str(), nullptr, &size);
    do { // a text may have grown since its size was told
        check(name, code);
        text.assign(size, '\0');
        code = Gbe_getValueAsString(camera, name.c_str(), text.data(), &size);
    } while (code == GBE_ERROR_BUFFER_TOO_SMALL);
    check(name, code);
    return text.c_str();
}

// "0x" and two digits for each byte, in the order of their addresses.
std::string readBytes(CameraHandle* camera, const std::string& name) {
    unsigned size = 0;
    check(name, Gbe_getRegisterBytes(camera, name.c_str(), nullptr, &size));
    QByteArray bytes(static_cast<int>(size), '\0');
    check(name, Gbe_getRegisterBytes(camera, name.c_str(), bytes.data(), &size));
    return "0x" + bytes.toHex().toStdString();
}

void writeBytes(CameraHandle* camera, const std::string& name, const std::string& value) {
    const QByteArray digits = QByteArray::fromStdString(value.starts_with("0x") ? value.substr(2) : value);
    const QByteArray bytes = QByteArray::fromHex(digits);
    if (bytes.toHex() != digits.toLower()) {
        throw Failure(
            name + ": \"" + value + "\" is not 0x and two digits for each byte", ExitStatus::Refused);
    }
    check(
        name,
        Gbe_setRegisterBytes(camera, name.c_str(), bytes.constData(), static_cast<unsigned>(bytes.size())));
}

int representationOf(CameraHandle* camera, const std::string& name) {
    GbeFeatureInfo info{};
    return Gbe_getFeatureInfo(camera, name.c_str(), &info) == GBE_SUCCESS ? info.representation
                                                                          : GBE_REPRESENTATION_NOT_GIVEN;
}

std::string unitOf(CameraHandle* camera, const std::string& name) {
    const char* unit = "";
    return Gbe_getFeatureText(camera, name.c_str(), GBE_TEXT_UNIT, &unit) == GBE_SUCCESS ? unit : "";
}

// The number in the feature's own unit. Of one without a unit behind it, whole digits are kept.
Quantity parseNumber(CameraHandle* camera, const std::string& name, const std::string& text) {
    auto quantity = parseQuantity(text);
    if (!quantity) {
        throw Failure(name + ": \"" + text + "\" is not a number", ExitStatus::Refused);
    }
    if (quantity->unit.empty()) {
        return *quantity;
    }
    const std::string unit = unitOf(camera, name);
    const auto number = converted(quantity->number, quantity->unit, unit);
    if (!number) {
        throw Failure(
            name + ": \"" + text + "\": " + (unit.empty() ? "it has no unit" : "its unit is " + unit),
            ExitStatus::Refused);
    }
    return {*number, quantity->unit == unit ? quantity->integer : std::nullopt, ""};
}

// Of a feature that is shown as one; nothing for any other text.
std::optional<long long>
parseAddress(CameraHandle* camera, const std::string& name, const std::string& text) {
    const auto ip = Ipv4::parse(text);
    const auto mac = Mac::parse(text);
    const int wanted = ip ? GBE_REPRESENTATION_IPV4_ADDRESS : GBE_REPRESENTATION_MAC_ADDRESS;
    if ((!ip && !mac) || representationOf(camera, name) != wanted) {
        return std::nullopt;
    }
    return ip ? static_cast<long long>(ip->number()) : static_cast<long long>(mac->number());
}

long long parseInteger(CameraHandle* camera, const std::string& name, const std::string& text) {
    if (const auto address = parseAddress(camera, name, text)) {
        return *address;
    }
    constexpr double kExact = 9007199254740992.0; // up to here every integer is a double
    const Quantity quantity = parseNumber(camera, name, text);
    if (quantity.integer) {
        return *quantity.integer;
    }
    if (std::abs(quantity.number) > kExact || quantity.number != std::floor(quantity.number)) {
        throw Failure(name + ": \"" + text + "\" is not an integer", ExitStatus::Refused);
    }
    return static_cast<long long>(quantity.number);
}

double parseFloat(CameraHandle* camera, const std::string& name, const std::string& text) {
    return parseNumber(camera, name, text).number;
}

int parseBoolean(const std::string& name, const std::string& text) {
    if (text == "true" || text == "1") {
        return 1;
    }
    if (text == "false" || text == "0") {
        return 0;
    }
    throw Failure(name + ": \"" + text + "\" is neither true nor false", ExitStatus::Refused);
}

} // namespace

const char* kindName(int kind) {
    static constexpr const char* kNames[] = {
        "other", "integer", "float", "boolean", "string", "enumeration", "command", "category", "register",
    };
    static_assert(std::size(kNames) == GBE_KIND_REGISTER + 1);
    return kind >= 0 && kind <= GBE_KIND_REGISTER ? kNames[kind] : "unknown";
}

std::vector<std::string> featureList(CameraHandle* camera, const std::string& name, int list) {
    unsigned size = 0;
    if (Gbe_getFeatureList(camera, name.c_str(), list, nullptr, &size) != GBE_SUCCESS) {
        return {};
    }
    std::vector<char> texts(size);
    if (Gbe_getFeatureList(camera, name.c_str(), list, texts.data(), &size) != GBE_SUCCESS) {
        return {};
    }
    std::vector<std::string> names;
    for (const char* text = texts.data(); *text != '\0'; text += names.back().size() + 1) {
        names.emplace_back(text);
    }
    return names;
}

namespace {

bool isCategory(CameraHandle* camera, const std::string& name) {
    int kind = GBE_KIND_OTHER;
    return Gbe_getFeatureKind(camera, name.c_str(), &kind) == GBE_SUCCESS && kind == GBE_KIND_CATEGORY;
}

// The root of the categories, or all of them where the description has no root.
std::vector<std::string> firstCategories(CameraHandle* camera) {
    std::vector<std::string> names{kRoot};
    if (!isCategory(camera, kRoot)) {
        names = allNames(camera);
        std::erase_if(names, [&](const std::string& name) { return !isCategory(camera, name); });
        std::reverse(names.begin(), names.end());
    }
    return names;
}

} // namespace

std::vector<Category> categoriesOf(CameraHandle* camera) {
    std::vector<Category> categories;
    std::vector<std::string> open = firstCategories(camera); // the next one last
    std::set<std::string> met(open.begin(), open.end());
    while (!open.empty()) {
        Category category{open.back(), {}};
        open.pop_back();
        const auto place = static_cast<std::ptrdiff_t>(open.size());
        for (const std::string& name : featureList(camera, category.name, GBE_LIST_MEMBERS)) {
            if (!isCategory(camera, name)) {
                category.features.push_back(name);
            } else if (met.insert(name).second) {
                open.insert(open.begin() + place, name);
            }
        }
        categories.push_back(std::move(category));
    }
    return categories;
}

std::vector<std::string> allNames(CameraHandle* camera) {
    std::vector<std::string> names;
    const int count = Gbe_getFeatureCount(camera);
    check("features", count);
    for (int i = 0; i < count; ++i) {
        const char* name = nullptr;
        check("features", Gbe_getFeatureName(camera, static_cast<unsigned>(i), &name));
        names.emplace_back(name);
    }
    return names;
}

void readAhead(CameraHandle* camera, const std::vector<std::string>& names) {
    std::vector<const char*> known;
    for (const std::string& name : names) {
        int kind = GBE_KIND_OTHER;
        if (Gbe_getFeatureKind(camera, name.c_str(), &kind) == GBE_SUCCESS) {
            known.push_back(name.c_str());
        }
    }
    constexpr std::size_t kWorthIt = 4; // a few take no longer by themselves, and none would mean all
    if (known.size() >= kWorthIt) {
        Gbe_prefetch(camera, known.data(), static_cast<unsigned>(known.size()));
    }
}

int featureKind(CameraHandle* camera, const std::string& name) {
    int kind = GBE_KIND_OTHER;
    const int code = Gbe_getFeatureKind(camera, name.c_str(), &kind);
    if (code < 0) {
        throw Failure(name, code);
    }
    return kind;
}

std::string integerText(CameraHandle* camera, const std::string& name, long long value) {
    constexpr auto kIps = 1ULL << 32;
    constexpr auto kMacs = 1ULL << 48;
    const auto bits = static_cast<unsigned long long>(value);
    const int representation = representationOf(camera, name);
    return representation == GBE_REPRESENTATION_HEX_NUMBER ? hexText(bits)
           : representation == GBE_REPRESENTATION_IPV4_ADDRESS && bits < kIps
               ? Ipv4::fromNumber(static_cast<std::uint32_t>(bits)).text()
           : representation == GBE_REPRESENTATION_MAC_ADDRESS && bits < kMacs ? Mac::fromNumber(bits).text()
                                                                              : std::to_string(value);
}

std::string readText(CameraHandle* camera, const std::string& name) {
    switch (featureKind(camera, name)) {
    case GBE_KIND_INTEGER: {
        long long value = 0;
        check(name, Gbe_getIntegerValue(camera, name.c_str(), &value));
        return integerText(camera, name, value);
    }
    case GBE_KIND_FLOAT: {
        double value = 0;
        check(name, Gbe_getFloatValue(camera, name.c_str(), &value));
        return numberText(value);
    }
    case GBE_KIND_BOOLEAN: {
        int value = 0;
        check(name, Gbe_getBooleanValue(camera, name.c_str(), &value));
        return value != 0 ? "true" : "false";
    }
    case GBE_KIND_REGISTER:
        return readBytes(camera, name);
    default:
        return readPlainText(camera, name);
    }
}

std::string shortened(const std::string& value) {
    constexpr std::size_t kMostShown = 64;
    return value.size() > kMostShown ? value.substr(0, kMostShown) + "..." : value;
}

QJsonValue readJson(CameraHandle* camera, const std::string& name) {
    switch (featureKind(camera, name)) {
    case GBE_KIND_INTEGER: {
        long long value = 0;
        check(name, Gbe_getIntegerValue(camera, name.c_str(), &value));
        return static_cast<qint64>(value);
    }
    case GBE_KIND_FLOAT: {
        double value = 0;
        check(name, Gbe_getFloatValue(camera, name.c_str(), &value));
        return value;
    }
    case GBE_KIND_BOOLEAN: {
        int value = 0;
        check(name, Gbe_getBooleanValue(camera, name.c_str(), &value));
        return value != 0;
    }
    default:
        return QString::fromStdString(readText(camera, name));
    }
}

void writeText(CameraHandle* camera, const std::string& name, const std::string& value) {
    const char* feature = name.c_str();
    switch (featureKind(camera, name)) {
    case GBE_KIND_INTEGER:
        return check(name, Gbe_setIntegerValue(camera, feature, parseInteger(camera, name, value)));
    case GBE_KIND_FLOAT:
        return check(name, Gbe_setFloatValue(camera, feature, parseFloat(camera, name, value)));
    case GBE_KIND_BOOLEAN:
        return check(name, Gbe_setBooleanValue(camera, feature, parseBoolean(name, value)));
    case GBE_KIND_STRING:
        return check(name, Gbe_setStringValue(camera, feature, value.c_str()));
    case GBE_KIND_ENUMERATION:
        return check(name, Gbe_setEnumerationValue(camera, feature, value.c_str()));
    case GBE_KIND_REGISTER:
        return writeBytes(camera, name, value);
    case GBE_KIND_COMMAND:
        throw Failure(name + ": is a command: gbe exec " + name);
    default:
        throw Failure(name + ": has no value that can be set");
    }
}

void apply(CameraHandle* camera, const Setting& setting) {
    const auto& [name, step, value] = setting;
    if (step == Setting::Step::None) {
        return writeText(camera, name, value);
    }
    const bool isUp = step == Setting::Step::Up;
    const int kind = featureKind(camera, name);
    if (kind == GBE_KIND_INTEGER) {
        const long long by = parseInteger(camera, name, value);
        long long number = 0;
        check(name, Gbe_getIntegerValue(camera, name.c_str(), &number));
        const bool isTooMuch =
            isUp ? __builtin_add_overflow(number, by, &number) : __builtin_sub_overflow(number, by, &number);
        check(
            name, isTooMuch ? static_cast<int>(GBE_ERROR_ILLEGAL_VALUE)
                            : Gbe_setIntegerValue(camera, name.c_str(), number));
    } else if (kind == GBE_KIND_FLOAT) {
        const double by = parseFloat(camera, name, value);
        double number = 0;
        check(name, Gbe_getFloatValue(camera, name.c_str(), &number));
        check(name, Gbe_setFloatValue(camera, name.c_str(), isUp ? number + by : number - by));
    } else {
        throw Failure(
            name + ": only numbers go in steps; its kind is " + kindName(kind), ExitStatus::Refused);
    }
}

std::vector<Setting> parseSettings(const std::vector<std::string>& texts) {
    std::vector<Setting> settings;
    for (const std::string& text : texts) {
        const std::size_t equals = text.find('=');
        const char before = equals == 0 || equals == text.npos ? '\0' : text[equals - 1];
        const Setting::Step step = before == '+'   ? Setting::Step::Up
                                   : before == '-' ? Setting::Step::Down
                                                   : Setting::Step::None;
        const std::size_t length = equals - (step == Setting::Step::None ? 0 : 1);
        if (before == '\0' || length == 0) {
            throw Failure("\"" + text + "\" is not NAME=VALUE", ExitStatus::Usage);
        }
        settings.push_back({text.substr(0, length), step, text.substr(equals + 1)});
    }
    return settings;
}

void execute(CameraHandle* camera, const std::string& name, double seconds) {
    if (const int kind = featureKind(camera, name); kind != GBE_KIND_COMMAND) {
        throw Failure(name + ": is no command; its kind is " + kindName(kind));
    }
    check(name, Gbe_executeCommand(camera, name.c_str()));
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
    for (;;) {
        const int done = Gbe_isCommandDone(camera, name.c_str());
        check(name, done);
        if (done == 1) {
            return;
        }
        if (std::chrono::steady_clock::now() > deadline) {
            throw Failure(name + ": is not done after " + numberText(seconds) + " s");
        }
        std::this_thread::sleep_for(kCommandPoll);
    }
}

std::string readDescription(CameraHandle* camera) {
    unsigned size = 0;
    check("description", Gbe_getGenICamXML(camera, nullptr, &size));
    std::string text(size, '\0');
    check("description", Gbe_getGenICamXML(camera, text.data(), &size));
    return text.c_str(); // without the NUL
}

} // namespace gbe
