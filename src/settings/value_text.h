// The value of a feature as text and back: in every locale the same, and with its full precision.
#pragma once

#include "liomol/exceptions.h"
#include "liomol/node_kinds.h"
#include "util/error_detail.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace settings {

// Why something cannot be done with a feature: "<text of the status> (<code>)", and a sentence behind it.
class Refusal : public std::runtime_error {
public:
    Refusal(int code, const std::string& sentence);

    int code() const { return m_code; }
    const std::string& sentence() const { return m_sentence; }

private:
    int m_code;
    std::string m_sentence;
};

// Runs `work`; what the node tree refuses becomes a Refusal.
template<typename Work> auto refusing(Work&& work) {
    try {
        return std::forward<Work>(work)();
    } catch (const tavo::GenICamException& refused) {
        throw Refusal(refused.getErrno(), util::errorDetail());
    } catch (const tavo::CoreException& refused) {
        throw Refusal(refused.getErrno(), util::errorDetail());
    }
}

// Whether a feature has a value that a file can hold: a command and a category have none.
bool hasValue(tavo::GenICamNode& node);

// These throw Refusal. Decimal integers, or 0x... or an address where the description wants
// them shown so; as many digits of a float as tell it from all others; true and false; an entry's name; the
// bytes of a register as 0x and two digits each.
std::string readText(tavo::GenICamNode& node);

// Throws when the text can be no value of this feature, whatever its limits are now.
void checkText(tavo::GenICamNode& node, const std::string& text);
// Sets the feature.
void writeText(tavo::GenICamNode& node, const std::string& text);

// Whether a feature's value is a text, so that "007" and "7" are two.
bool holdsText(tavo::GenICamNode& node);

// Whether two texts mean the same value where nothing is known of the feature: 16 and 0x10, 1.5 and 1.50,
// true and 1, 192.168.0.1 and 0xc0a80001.
bool sameValue(std::string_view a, std::string_view b);
// Whether a text means the same as another one may mean.
bool looksLikeNumber(std::string_view text);
// Of this feature.
bool sameValue(tavo::GenICamNode& node, std::string_view a, std::string_view b);
// The same, or nearer than the digits of a small float tell.
bool nearlySameValue(tavo::GenICamNode& node, std::string_view a, std::string_view b);

} // namespace settings
