#include "util/error_detail.h"

#include <cstring>

namespace util {
namespace {

thread_local char sentenceOfThread[kErrorDetailSize];

} // namespace

const char* errorDetail() noexcept {
    return sentenceOfThread;
}

// Never cut within a character of UTF-8.
void setErrorDetail(std::string_view sentence) noexcept {
    std::size_t length = sentence.size() < kErrorDetailSize ? sentence.size() : kErrorDetailSize - 1;
    const auto isContinuation = [&] { return (static_cast<unsigned char>(sentence[length]) & 0xC0) == 0x80; };
    while (length < sentence.size() && length > 0 && isContinuation()) {
        --length;
    }
    if (length > 0) {
        std::memmove(sentenceOfThread, sentence.data(), length);
    }
    sentenceOfThread[length] = '\0';
}

KeepErrorDetail::KeepErrorDetail() noexcept {
    std::memcpy(m_text, sentenceOfThread, sizeof m_text);
}

KeepErrorDetail::~KeepErrorDetail() {
    std::memcpy(sentenceOfThread, m_text, sizeof m_text);
}

int refused(int code, std::string_view sentence) noexcept {
    setErrorDetail(sentence);
    return code;
}

} // namespace util
