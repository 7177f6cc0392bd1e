// Why something failed, beside its code: one sentence for people, which Gbe_getLastErrorDetail shows. Kept
// for each thread, and written only where something fails: what goes well pays nothing for it.
//
// A sentence begins with a small letter, ends without a full stop, gives facts, and names nothing that only
// the source knows. An exception of the library that is made without one leaves the thread with none, so that
// no failure shows the sentence of another.
#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

namespace util {

inline constexpr std::size_t kErrorDetailSize = 512; // with its NUL; what is longer is cut

// The thread's sentence; empty when its latest failure had nothing to tell. The place stays the same as long
// as the thread lives.
const char* errorDetail() noexcept;
// In place of the earlier one.
void setErrorDetail(std::string_view sentence) noexcept;

// Keeps the thread's sentence through what is tidied up after a failure.
class KeepErrorDetail {
public:
    KeepErrorDetail() noexcept;
    ~KeepErrorDetail();
    KeepErrorDetail(const KeepErrorDetail&) = delete;
    KeepErrorDetail& operator=(const KeepErrorDetail&) = delete;

private:
    char m_text[kErrorDetailSize];
};

// What `tell` makes; nothing where it fails in turn: that must not become another failure than the one that
// it tells of.
template<typename Tell> std::string sentenceOf(Tell&& tell) {
    try {
        return std::forward<Tell>(tell)();
    } catch (const std::exception&) {
        return {};
    }
}

// Throws an exception of the library with the sentence that `tell` makes.
template<typename Exception, typename Tell> [[noreturn, gnu::cold, gnu::noinline]] void fail(Tell&& tell) {
    const std::string sentence = sentenceOf(std::forward<Tell>(tell));
    const Exception exception;
    setErrorDetail(sentence);
    throw Exception(exception);
}

// The result of a call that fails, with the sentence that `tell` makes, or with this one.
template<typename Tell>
[[gnu::cold, gnu::noinline]] auto refused(int code, Tell&& tell) -> decltype(tell(), 0) {
    setErrorDetail(sentenceOf(std::forward<Tell>(tell)));
    return code;
}
[[gnu::cold]] int refused(int code, std::string_view sentence) noexcept;

} // namespace util
