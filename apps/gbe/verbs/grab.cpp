// gbe grab: images of a camera as pictures.
#include "gbe/ChunkFeatures.h"
#include "gbe/Context.h"
#include "gbe/Failure.h"
#include "gbe/ImageStream.h"
#include "gbe/Interrupt.h"
#include "gbe/Json.h"
#include "gbe/PictureNames.h"
#include "gbe/Progress.h"
#include "gbe/features.h"
#include "gbe/image_json.h"
#include "gbe/options.h"
#include "pictures/picture_file.h"
#include "pixels/pixels.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>

namespace gbe {
namespace {

using pictures::FileFormat;

constexpr const char* kUsualFile = "image.png";
// Buffers for as many images as are wanted, so that they are successive ones however long writing them takes;
// but not more than this many bytes.
constexpr long long kBufferBytes = 512LL * 1024 * 1024;
constexpr unsigned kFewestBuffers = 4;

struct GrabRequest : StreamRequest {
    unsigned count = 1;
    std::string file;   // empty: the usual name, or none with `json`
    std::string format; // empty: by the file's name
    double seconds = 5; // for each image
    bool trigger = false;
    bool json = false;
};

FileFormat chooseFormat(const GrabRequest& request) {
    const bool given = !request.format.empty();
    const auto format = given ? pictures::formatNamed(request.format) : pictures::formatOfFile(request.file);
    if (!format) {
        throw Failure(
            (given ? "format \"" + request.format : "\"" + request.file) +
                "\": pictures are written as png, tiff, pnm or raw (--format)",
            ExitStatus::Usage);
    }
    return *format;
}

unsigned bufferCount(CameraHandle* camera, unsigned images) {
    long long size = 0;
    check("PayloadSize", Gbe_getIntegerValue(camera, "PayloadSize", &size));
    const long long most =
        std::clamp<long long>(kBufferBytes / std::max<long long>(size, 1), kFewestBuffers, GBE_MOST_BUFFERS);
    return static_cast<unsigned>(std::clamp<long long>(images, kFewestBuffers, most));
}

// The image's bytes with zeros where some are missing: what is there in their place is of no image.
std::vector<std::uint8_t> rawBytes(const GbeImage& image) {
    const auto* data = static_cast<const std::uint8_t*>(image.data);
    std::vector<std::uint8_t> bytes(data, data + image.size);
    for (std::size_t i = 0; i < image.missingCount; ++i) {
        const GbeMissingBytes& gap = image.missing[i];
        if (gap.offset < bytes.size()) {
            const auto offset = static_cast<std::size_t>(gap.offset);
            std::memset(
                bytes.data() + offset, 0,
                static_cast<std::size_t>(std::min<std::uint64_t>(gap.length, bytes.size() - offset)));
        }
    }
    return bytes;
}

GbePixels pixelsOf(pixels::Form form) {
    switch (form) {
    case pixels::Form::Mono8:
        return GBE_PIXELS_MONO8;
    case pixels::Form::Mono16:
        return GBE_PIXELS_MONO16;
    case pixels::Form::Rgb8:
        return GBE_PIXELS_RGB8;
    case pixels::Form::Rgb16:
        return GBE_PIXELS_RGB16;
    }
    return GBE_PIXELS_MONO8;
}

std::string whatItIs(const GbeImage& image) {
    if (image.status == GBE_IMAGE_NOT_UNDERSTOOD) {
        return "a payload of type " + std::to_string(image.payloadType) + ", which is no image";
    }
    const std::string name = image.pixelFormatName;
    return "pixel format " + (name.empty() ? std::to_string(image.pixelFormat) : name);
}

std::vector<std::uint8_t> convert(const GbeImage& image, GbePixels form) {
    std::size_t size = 0;
    int code = Gbe_convertImage(&image, form, nullptr, &size);
    std::vector<std::uint8_t> bytes(size);
    if (code >= 0) {
        code = Gbe_convertImage(&image, form, bytes.data(), &size);
    }
    check(whatItIs(image) + " (--format raw keeps its bytes)", code);
    return bytes;
}

void save(const std::string& file, FileFormat format, const GbeImage& image) {
    const pixels::Form form = pixels::naturalForm(image.pixelFormat);
    const std::vector<std::uint8_t> bytes =
        format == FileFormat::Raw ? rawBytes(image) : convert(image, pixelsOf(form));
    const bool colour = form == pixels::Form::Rgb8 || form == pixels::Form::Rgb16;
    const bool deep = form == pixels::Form::Mono16 || form == pixels::Form::Rgb16;
    try {
        pictures::save(file, format, {bytes, image.width, image.height, colour, deep});
    } catch (const std::runtime_error& error) {
        throw Failure(error.what());
    }
}

class Grab {
public:
    Grab(const GrabRequest& request)
        : m_request(request), m_names(request.file, request.count),
          m_format(request.file.empty() ? FileFormat::Raw : chooseFormat(request)) {}

    unsigned run(Context& context);

private:
    void next(ImageStream& stream, GbeImage& image);
    void tell(const std::string& file, const GbeImage& image);
    void complainOf(ImageStream& stream, const GbeImage& image) const;

    const GrabRequest& m_request;
    const PictureNames m_names;
    const FileFormat m_format;
    ChunkFeatures m_chunkFeatures{""};
    Progress m_progress;
    Interrupt m_interrupt;
    unsigned m_done = 0;
    unsigned m_broken = 0;
};

unsigned Grab::run(Context& context) {
    const std::vector<Setting> settings = parseSettings(m_request.settings);
    GbeStreamOptions options;
    Gbe_initStreamOptions(&options);
    options.packetSize = parsePacketSize(m_request.packetSize);
    options.dropOldest = 0;
    CameraHandle* camera = context.session(m_request.purpose).camera.get();
    prepareCamera(camera, settings);
    std::optional<SoftwareTrigger> trigger;
    if (m_request.trigger) {
        trigger.emplace(camera);
    }
    if (m_request.json) {
        m_chunkFeatures = ChunkFeatures(readDescription(camera));
    }
    options.buffers = bufferCount(camera, m_request.count);
    ImageStream stream(camera, options);
    stream.start();
    while (m_done < m_request.count) {
        if (trigger) {
            trigger->fire();
        }
        GbeImage image{};
        next(stream, image);
        ++m_done;
        const std::string file = m_request.file.empty() ? "" : m_names.at(m_done);
        if (!file.empty()) {
            save(file, m_format, image);
        }
        tell(file, image);
        if (image.status == GBE_IMAGE_INCOMPLETE) {
            ++m_broken;
            complainOf(stream, image);
        }
        stream.giveBack(image);
    }
    return m_broken;
}

void Grab::next(ImageStream& stream, GbeImage& image) {
    const std::string count = std::to_string(m_done) + " of " + std::to_string(m_request.count);
    m_progress.show(count);
    const std::chrono::milliseconds time(static_cast<long long>(m_request.seconds * 1000));
    const Came came = stream.wait(time, m_interrupt, image);
    if (came == Came::Image) {
        return;
    }
    m_progress.clear();
    if (came == Came::NoLink) {
        throw Failure("after " + count + " images " + Gbe_getLastErrorDetail(), ExitStatus::Lost);
    }
    if (m_interrupt.asked()) {
        throw Failure("interrupted after " + count + " images");
    }
    throw Failure("waiting for an image", GBE_ERROR_TIMEOUT, stream.trouble());
}

void Grab::tell(const std::string& file, const GbeImage& image) {
    m_progress.clear();
    if (m_request.json) {
        QJsonObject object = imageJson(image);
        object.insert("features", m_chunkFeatures.of(image));
        if (!file.empty()) {
            object.insert("file", QString::fromStdString(file));
        }
        printLine(object);
    } else {
        std::printf("%s  %ux%u %s\n", file.c_str(), image.width, image.height, image.pixelFormatName);
        std::fflush(stdout);
    }
}

// Of an image without a single pixel it is worth asking why.
void Grab::complainOf(ImageStream& stream, const GbeImage& image) const {
    const std::string why = image.missingBytes >= image.size ? stream.trouble() : "";
    complain(
        "image " + std::to_string(m_done) + ": " + std::to_string(image.missingBytes) + " of " +
        std::to_string(image.size) + " bytes are missing" + (why.empty() ? "" : ": " + why));
}

// The number of images that were not whole; each is named on standard error.
unsigned grabImages(Context& context, const GrabRequest& request) {
    GrabRequest complete = request;
    complete.json = context.json;
    if (complete.file.empty() && !complete.json) {
        complete.file = kUsualFile;
    }
    return Grab(complete).run(context);
}

Run define(CLI::App& command, Context& context) {
    const auto request = std::make_shared<GrabRequest>();
    command.add_option("-n,--count", request->count, "Images, successive ones (default: 1)")
        ->check(within(1U, 1'000'000'000U))
        ->type_name("N");
    command
        .add_option(
            "-o,--output", request->file,
            "File; of several images each has its number in it, or where %d or %03d is (default: image.png, "
            "with --json none)")
        ->type_name("FILE");
    command.add_option("--format", request->format, "png, tiff, pnm or raw (default: by the file's name)")
        ->type_name("FORMAT");
    addSeconds(command, "--timeout", request->seconds, "Seconds to wait for each image (default: 5)");
    command.add_flag("--trigger", request->trigger, "Each image by a software trigger");
    addStreamOptions(command, context, *request);
    addJson(command, context);
    return [=, &context] {
        return grabImages(context, *request) == 0 ? ExitStatus::Success : ExitStatus::Other;
    };
}

constexpr Example kExamples[] = {
    {"gbe grab -o first.png", "one image"},
    {"gbe grab -n 3 -o shot.tif --set PixelFormat=Mono12",
     "three successive ones: shot-001.tif to shot-003.tif"},
    {"gbe grab -n 2 -o 'left-%02d.pgm' --trigger", "each by a software trigger"},
    {"gbe grab -n 5 --json", "no files: an object a line for each image"},
};

} // namespace

extern const Verb kGrabVerb{
    "grab",
    Group::Images,
    "Saves images as pictures",
    &define,
    kExamples,
    "An image that is not whole is written all the same, with zeros for what is missing, named on standard "
    "error, and the exit status is 1. When the link or control of the camera is lost it ends with status 6, and "
    "the images that have come stay."};

} // namespace gbe
