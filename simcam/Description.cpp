#include "simcam/Description.h"

#include "simcam/limits.h"
#include "simcam/zip_writer.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

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

std::optional<Bytes> sourceText(const CameraSettings& settings, std::string& error) {
    if (settings.descriptionFile.empty()) {
        const ByteView view =
            settings.descriptionText.empty() ? builtInDescription() : viewOf(settings.descriptionText);
        return Bytes(view.begin(), view.end());
    }
    std::ifstream stream(settings.descriptionFile, std::ios::binary);
    Bytes content{std::istreambuf_iterator<char>(stream), {}};
    if (content.empty()) {
        error = "description '" + settings.descriptionFile + "' cannot be read or is empty";
        return std::nullopt;
    }
    return content;
}

} // namespace

std::optional<Description> makeDescription(const CameraSettings& settings, std::string& error) {
    auto source = sourceText(settings, error);
    if (!source) {
        return std::nullopt;
    }
    if (source->size() > kMaxDescription) {
        error = "the description is larger than 64 MiB";
        return std::nullopt;
    }
    Description description;
    const ByteView signature = viewOf(kZipSignature);
    if (source->size() >= signature.size() &&
        std::ranges::equal(ByteView(*source).first(signature.size()), signature)) {
        description.zip = file(kZipAddress, std::move(*source), settings.fileEnd);
    } else {
        Bytes archive = zipped(kTextName, *source);
        if (archive.empty()) {
            error = "the description cannot be packed";
            return std::nullopt;
        }
        description.zip = file(kZipAddress, std::move(archive), settings.fileEnd);
        description.text = file(kTextAddress, std::move(*source), settings.fileEnd);
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
