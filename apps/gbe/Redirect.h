// What a verb prints, as a text.
#pragma once

#include <functional>
#include <string>

namespace gbe {

// All that goes to standard output and standard error of this process while `work` runs, in its order; the
// caller's own output is unharmed. Not for two threads at once. Throws Failure, and what `work` throws.
std::string outputOf(const std::function<void()>& work);

} // namespace gbe
