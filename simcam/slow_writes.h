// Writes that take the camera a while, as storing user sets or moving a lens does. The write itself happens
// at once; its acknowledgement comes when the time is over, announced by a PENDING_ACK.
#pragma once

#include "simcam/bytes.h"
#include "simcam/limits.h"
#include "simcam/register_table.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simcam {

// When the PENDING_ACK is sent: GigE Vision wants it only after the application has switched it on in the
// GVCP configuration register, but devices differ.
enum class PendingAcks { Always, WhenAsked, Never };

struct SlowWrite {
    milliseconds time{0};
    std::optional<Address> only; // writes of this register; none: of all that the manufacturer defines
};

// "2000 UserSetSave;50": milliseconds, perhaps a register by its name or address; several separated by ';',
// the first that fits a write counts. Empty: every write is done at once. None with a one-line `error` when
// the text is not of that form.
std::optional<std::vector<SlowWrite>> parseSlowWrites(std::string_view text, std::string& error);

// How long a write of the bytes from `begin` to before `end` takes.
milliseconds timeOfWrite(const std::vector<SlowWrite>& slow, Address begin, Address end);

} // namespace simcam
