#include "simcam/Description.h"

#include "simcam/limits.h"
#include "simcam/zip_writer.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

namespace simcam {

namespace {

// Far above the registers of any device, so that a description of others finds its registers free.
constexpr Address kZipAddress = 0x40000000;
constexpr Address kTextAddress = 0x48000000;
constexpr std::string_view kZipName = "simcam.zip";
constexpr std::string_view kTextName = "simcam.xml";
constexpr std::string_view kZipPlace = "{zip}";
constexpr std::string_view kTextPlace = "{xml}";
constexpr std::string_view kZipSignature = "PK\x03\x04";

Description::File file(Address address, Bytes content, FileEnd end) {
    const std::size_t unit = end == FileEnd::Padded ? 8 : 4;
    Description::File made{address, std::move(content), 0};
    made.length = made.content.size();
    made.content.resize((made.length + unit - 1) / unit * unit);
    return made;
}

std::string localUrl(std::string_view name, const Description::File& file) {
    char place[32];
    std::snprintf(
        place, sizeof place, ";%lX;%lX", static_cast<unsigned long>(file.address),
        static_cast<unsigned long>(file.length));
    return "Local:" + std::string(name) + place;
}

void replaceAll(std::string& text, std::string_view what, const std::string& with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
        text.replace(at, what.size(), with);
    }
}

// The URL with its places filled in; one that does not fit its register is refused.
bool expand(std::string& url, const Description& description, std::string& error) {
    replaceAll(url, kZipPlace, localUrl(kZipName, description.zip));
    if (description.text) {
        replaceAll(url, kTextPlace, localUrl(kTextName, *description.text));
    }
    if (url.find(kTextPlace) != std::string::npos) {
        error = "URL '" + url + "': the description is an archive, there is no plain text of it";
        return false;
    }
    if (url.size() > bootstrap::kUrlSize) {
        error = "URL '" + url.substr(0, 40) + "...' is longer than 512 bytes";
        return false;
    }
    return true;
}

bool isArchive(ByteView content) {
    const ByteView signature = viewOf(kZipSignature);
    return content.size() >= signature.size() &&
           std::ranges::equal(content.first(signature.size()), signature);
}

std::optional<Bytes> readFile(const std::string& path, std::string& error) {
    std::ifstream stream(path, std::ios::binary | std::ios::ate);
    const std::streamoff size = stream.is_open() ? static_cast<std::streamoff>(stream.tellg()) : -1;
    Bytes content(
        size > 0 && static_cast<std::uint64_t>(size) <= kMaxDescription ? static_cast<std::size_t>(size) : 0);
    stream.seekg(0);
    stream.read(reinterpret_cast<char*>(content.data()), static_cast<std::streamsize>(content.size()));
    if (content.empty() || !stream) {
        error = "description '" + path + "' cannot be read, is empty or larger than 64 MiB";
        return std::nullopt;
    }
    return content;
}

// Packing takes far longer than all else that makes a camera, so the built-in text is packed once.
const Bytes& builtInArchive() {
    static const Bytes archive = zipped(kTextName, builtInDescription());
    return archive;
}

// The description's text, or an archive of one's own, which is kept as it is.
std::optional<Bytes> source(const CameraSettings& settings, std::string& error) {
    if (!settings.descriptionFile.empty()) {
        return readFile(settings.descriptionFile, error);
    }
    const ByteView text =
        settings.descriptionText.empty() ? builtInDescription() : viewOf(settings.descriptionText);
    return Bytes(text.begin(), text.end());
}

bool fill(Description& description, Bytes content, const CameraSettings& settings) {
    if (isArchive(content)) {
        description.zip = file(kZipAddress, std::move(content), settings.fileEnd);
        return true;
    }
    const bool builtIn = settings.descriptionFile.empty() && settings.descriptionText.empty();
    Bytes archive = builtIn ? builtInArchive() : zipped(kTextName, content);
    const bool packed = !archive.empty();
    description.zip = file(kZipAddress, std::move(archive), settings.fileEnd);
    description.text = file(kTextAddress, std::move(content), settings.fileEnd);
    return packed;
}

} // namespace

std::optional<Description> makeDescription(const CameraSettings& settings, std::string& error) {
    auto content = source(settings, error);
    if (!content) {
        return std::nullopt;
    }
    Description description;
    if (!fill(description, std::move(*content), settings)) {
        error = "the description cannot be packed";
        return std::nullopt;
    }
    description.firstUrl = settings.firstUrl;
    description.secondUrl = settings.secondUrl;
    if (description.secondUrl.empty()) {
        description.secondUrl = description.text ? kTextPlace : kZipPlace;
    }
    const bool sound =
        expand(description.firstUrl, description, error) && expand(description.secondUrl, description, error);
    return sound ? std::optional(std::move(description)) : std::nullopt;
}

} // namespace simcam
