// A file of settings: what is read of it, written and read again is the same, and nothing differs between the
// two.
#include "settings/Document.h"
#include "settings/compare.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    settings::Document document;
    try {
        document = settings::parse({reinterpret_cast<const char*>(data), size});
    } catch (const settings::Malformed&) {
        return 0;
    }
    const settings::Document again = settings::parse(settings::write(document));
    if (again != document || !settings::compare(document, again).empty()) {
        std::abort();
    }
    return 0;
}
