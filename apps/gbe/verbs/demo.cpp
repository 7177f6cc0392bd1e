// gbe demo: the library's main job on one camera, told step by step.
#include "common/terminal_text.h"
#include "gbe/Context.h"
#include "gbe/Failure.h"
#include "gbe/Json.h"
#include "gbe/features.h"
#include "gbe/options.h"
#include "liomol/images.h"

#include <QtCore/QJsonArray>

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <thread>

namespace gbe {
namespace {

constexpr std::chrono::seconds kFrameLimit{10};
constexpr int kImagesToSee = 5;
constexpr int kImageLimitMs = 10000;

// What is told: at once, or in the end as an array of steps with their lines.
class Story {
public:
    void begin(bool json) {
        m_json = json;
        m_steps = {};
        m_lines = {};
        m_title.clear();
        m_number = 0;
    }
    void step(const char* text) {
        keepStep();
        m_title = text;
        if (!m_json) {
            std::printf("\n%d. %s\n", ++m_number, text);
            std::fflush(stdout);
        }
    }
    void line(const std::string& text) {
        if (m_json) {
            m_lines.append(QString::fromStdString(text));
        } else {
            std::printf("   %s\n", common::terminalText(text).c_str());
        }
    }
    void end() {
        keepStep();
        if (m_json) {
            print(QJsonDocument(m_steps));
        }
    }

private:
    void keepStep() {
        if (!m_title.isEmpty()) {
            m_steps.append(QJsonObject{{"step", m_title}, {"lines", m_lines}});
            m_lines = {};
        }
    }

    bool m_json = false;
    int m_number = 0;
    QString m_title;
    QJsonArray m_lines; // of this step
    QJsonArray m_steps;
};

Story story;

void step(const char* text) {
    story.step(text);
}

template<typename... Values> void say(const char* format, Values... values) {
    const int size = std::snprintf(nullptr, 0, format, values...);
    std::string text(static_cast<std::size_t>(size) + 1, '\0');
    std::snprintf(text.data(), text.size(), format, values...);
    text.pop_back(); // the NUL
    story.line(text);
}

void require(bool right, const std::string& what) {
    if (!right) {
        throw Failure("demo: " + what);
    }
}

void show(CameraHandle* camera, const char* name) {
    say("%-22s %-12s %s", name, kindName(featureKind(camera, name)), readText(camera, name).c_str());
}

// Writes a value, reads it back past every cache, and restores what was there.
void change(CameraHandle* camera, const char* name, const char* value) {
    const std::string before = readText(camera, name);
    writeText(camera, name, value);
    check("forgetting what was read", Gbe_invalidateCache(camera));
    const std::string after = readText(camera, name);
    const char* shown = before.empty() ? "(empty)" : before.c_str();
    say("%-22s %s -> %s", name, shown, after.c_str());
    require(after == value, std::string(name) + " did not take the value");
    writeText(camera, name, before);
}

long long integer(CameraHandle* camera, const char* name) {
    long long value = 0;
    check(name, Gbe_getIntegerValue(camera, name, &value));
    return value;
}

void showScan(BoardHandle* board, const Selection& selection, std::vector<FoundCamera>& found) {
    found = findCameras(board, selection);
    for (const auto& [port, info, ip] : found) {
        say("port %u: %s  %s  %s %s, serial number %s", port, Mac::at(info.mac).text().c_str(),
            ip.text().c_str(), fieldText(info.manufacturerName).c_str(), fieldText(info.modelName).c_str(),
            fieldText(info.serialNumber).c_str());
    }
    require(!found.empty(), "no camera was found");
}

void readAndWrite(CameraHandle* camera) {
    step("Reads features by name");
    for (const char* name :
         {"DeviceVendorName", "DeviceModelName", "DeviceSerialNumber", "Width", "Height", "PixelFormat",
          "PayloadSize", "ExposureTime", "AcquisitionFrameRate", "ReverseX"}) {
        show(camera, name);
    }
    step("Writes features, reads them back from the camera, and restores them");
    change(camera, "Width", "320");
    change(camera, "PixelFormat", "Mono16");
    change(camera, "ReverseX", "true");
    change(camera, "DeviceUserID", "demo");
    step("Executes commands");
    for (const char* name : {"TimestampLatch", "StatisticsReset"}) {
        execute(camera, name);
        say("%-22s done", name);
    }
}

// The images that the camera sends meanwhile; a frame grabber whose library hands out none only lets it count
// them.
void showImages(GbeStream* stream) {
    for (int i = 0; stream != nullptr && i < kImagesToSee; ++i) {
        GbeImage image{};
        check("waiting for an image", Gbe_waitImage(stream, kImageLimitMs, &image));
        say("image %llu: %ux%u %s, %zu bytes, taken at %.3f s of the camera's time",
            static_cast<unsigned long long>(image.blockId), image.width, image.height, image.pixelFormatName,
            image.size, static_cast<double>(image.timestampNs) / 1e9);
        require(image.status == GBE_IMAGE_COMPLETE, "the image is not complete");
        check("giving it back", Gbe_giveBackImage(stream, image.id));
    }
}

void waitForFrames(CameraHandle* camera) {
    const auto deadline = std::chrono::steady_clock::now() + kFrameLimit;
    while (integer(camera, "StreamFrameCount") < kImagesToSee) {
        require(std::chrono::steady_clock::now() < deadline, "the camera sends no frames");
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

// What was on its way when the camera was told to stop still comes.
long long settledFrames(CameraHandle* camera) {
    const auto deadline = std::chrono::steady_clock::now() + kFrameLimit;
    for (long long frames = integer(camera, "StreamFrameCount");;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        const long long now = integer(camera, "StreamFrameCount");
        if (now == frames) {
            return frames;
        }
        require(std::chrono::steady_clock::now() < deadline, "the camera did not stop");
        frames = now;
    }
}

void acquire(CameraHandle* camera) {
    step("Takes images: the camera sends packets as large as the way to here carries");
    GbeStream* stream = nullptr;
    const int code = Gbe_openStream(camera, nullptr, &stream);
    check("opening a stream", code == GBE_ERROR_NOT_IMPLEMENTED ? 0 : code);
    const std::unique_ptr<GbeStream, decltype(&Gbe_closeStream)> owner(stream, &Gbe_closeStream);
    check("starting", Gbe_startAcquisition(camera));
    showImages(stream);
    waitForFrames(camera);
    check("stopping", Gbe_stopAcquisition(camera));
    const long long frames = settledFrames(camera);
    say("stopped: the camera has sent %lld frames, %lld packets, %lld bytes", frames,
        integer(camera, "StreamPacketCount"), integer(camera, "StreamByteCount"));
}

struct Mistake {
    const char* what;
    int code;
    std::function<int(CameraHandle*)> make;
};

void makeMistakes(CameraHandle* camera) {
    step("Makes mistakes: each has its code and its text");
    double number = 0;
    const Mistake kMistakes[] = {
        {"read \"Widht\": no such feature", GBE_ERROR_ILLEGAL_NODE,
         [&](auto* c) { return Gbe_getFloatValue(c, "Widht", &number); }},
        {"read \"PixelFormat\" as a float", GBE_ERROR_ILLEGAL_NODE,
         [&](auto* c) { return Gbe_getFloatValue(c, "PixelFormat", &number); }},
        {"write \"DeviceModelName\", read-only", GBE_ERROR_NOT_WRITABLE,
         [](auto* c) { return Gbe_setStringValue(c, "DeviceModelName", "mine"); }},
        {"write Width = 1000000, out of range", GBE_ERROR_ILLEGAL_VALUE,
         [](auto* c) { return Gbe_setIntegerValue(c, "Width", 1000000); }},
        {"write PixelFormat = \"Mono7\", no entry", GBE_ERROR_ILLEGAL_VALUE,
         [](auto* c) { return Gbe_setEnumerationValue(c, "PixelFormat", "Mono7"); }},
        {"write Width while it is locked", GBE_ERROR_LOCKED,
         [](auto* c) {
             check("locking", Gbe_lockTLParams(c));
             const int code = Gbe_setIntegerValue(c, "Width", 320);
             check("unlocking", Gbe_unlockTLParams(c));
             return code;
         }},
        {"connect a second time", GBE_ERROR_CAMERA_NOT_CONNECTED,
         [](auto* c) { return Gbe_connectCamera(c); }},
    };
    for (const Mistake& mistake : kMistakes) {
        const int code = mistake.make(camera);
        say("%-40s %d  %s", mistake.what, code, Gbe_getErrorDescription(code));
        require(
            code == mistake.code, std::string(mistake.what) + ": expected " + std::to_string(mistake.code));
    }
}

// Throws when a step does not come out as it should.
void runDemo(const Selection& selection, bool json) {
    story.begin(json);
    if (!json) {
        std::printf("liomol %s\n", Gbe_getVersion());
    }
    step("Opens the board; the service tells the addresses of its ports");
    const Board board = openBoard(selection.board);
    say("board %d is open", selection.board);
    step("Scans the network behind the ports and lists the cameras");
    std::vector<FoundCamera> found;
    showScan(board.get(), selection, found);
    step("Connects: takes control, fetches the zipped description from the camera's memory, builds the "
         "features");
    Selection chosen = selection;
    chosen.port = found.front().port;
    const Camera camera = pickCamera(board.get(), chosen).handle;
    connectCamera(camera.get(), selection.standard, Purpose::Work);
    say("%d features, helpers included; description of %zu bytes", Gbe_getFeatureCount(camera.get()),
        readDescription(camera.get()).size());
    readAndWrite(camera.get());
    acquire(camera.get());
    makeMistakes(camera.get());
    step("Gives control back and closes the board");
    check("disconnecting", Gbe_disconnectCamera(camera.get()));
    say("done");
    story.end();
}

Run define(CLI::App& command, Context& context) {
    addJson(command, context);
    return [&context] {
        runDemo(context.selection, context.json);
        return ExitStatus::Success;
    };
}

constexpr Example kExamples[] = {
    {"gbe demo", "finds, connects, reads, writes, takes images, and makes mistakes"},
};

} // namespace

extern const Verb kDemoVerb{"demo",  Group::Trouble, "Shows the main job on a camera, step by step",
                            &define, kExamples,      "Values that it changes are put back."};

} // namespace gbe
