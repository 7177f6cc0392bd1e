// gbe grab and gbe stream as real processes, with the camera in software behind the default board: what it
// shows ends up in the files.
#include "process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <png.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

using test::fault;
using test::Outcome;
using testing::HasSubstr;
using testing::StartsWith;

constexpr unsigned kWidth = 256;
constexpr unsigned kHeight = 6;

std::unique_ptr<test::Program> grab(const QStringList& more) {
    const QStringList usual{"--port", "0", "grab", "--set", "Width=256", "--set", "Height=6"};
    return std::make_unique<test::Program>(GBE, usual + more);
}

std::string contents(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// A picture's samples, whole numbers of 8 or 16 bits; empty when it is no such picture.
struct Png {
    explicit Png(const std::string& file) {
        png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        std::FILE* in = std::fopen(file.c_str(), "rb");
        if (in != nullptr && setjmp(png_jmpbuf(png)) == 0) {
            png_init_io(png, in);
            png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
            width = png_get_image_width(png, info);
            height = png_get_image_height(png, info);
            channels = png_get_channels(png, info);
            bits = png_get_bit_depth(png, info);
            for (unsigned y = 0; y < height; ++y) {
                const png_bytep line = png_get_rows(png, info)[y];
                for (unsigned i = 0; i < width * channels; ++i) {
                    samples.push_back(bits == 8 ? line[i] : line[2 * i] << 8 | line[2 * i + 1]);
                }
            }
        }
        if (in != nullptr) {
            std::fclose(in);
        }
        png_destroy_read_struct(&png, &info, nullptr);
    }
    unsigned width = 0, height = 0, channels = 0, bits = 0;
    std::vector<int> samples;
};

class Grab : public test::WithService {};

int ramp(unsigned x, unsigned) {
    return static_cast<int>(x) * 257; // of 16 bits
}
// White, yellow, cyan, green, magenta, red, blue, black.
int bars(unsigned x, unsigned plane) {
    const unsigned bar = x / (kWidth / 8);
    return (bar >> (plane == 0 ? 1 : plane == 1 ? 2 : 0) & 1) != 0 ? 0 : 0xFFFF;
}

TEST_F(Grab, ThePictureIsWhatTheCameraShows) {
    const struct {
        const char* format;
        const char* pattern;
        int (*shown)(unsigned x, unsigned plane);
        unsigned channels;
        unsigned bits;   // of the picture
        unsigned kept;   // of the samples
        unsigned border; // pixels beside a bar's edges that are mixed
    } rows[] = {
        {"Mono8", "GreyHorizontalRamp", ramp, 1, 8, 8, 0},
        {"Mono10Packed", "GreyHorizontalRamp", ramp, 1, 16, 10, 0},
        {"Mono12", "GreyHorizontalRamp", ramp, 1, 16, 12, 0},
        {"Mono16", "GreyHorizontalRamp", ramp, 1, 16, 16, 0},
        {"BayerRG8", "ColorBar", bars, 3, 8, 8, 1},
        {"BayerRG12", "ColorBar", bars, 3, 16, 12, 1},
        {"BGR8Packed", "ColorBar", bars, 3, 8, 8, 0},
        {"YUV422Packed", "ColorBar", bars, 3, 8, 7, 0},
    };
    std::vector<std::unique_ptr<test::Program>> programs; // each has a board and a camera of its own
    for (const auto& row : rows) {
        programs.push_back(grab(
            {"--set", QString("PixelFormat=") + row.format, "--set", QString("TestPattern=") + row.pattern,
             "-o", QString(row.format) + ".png"}));
    }
    for (std::size_t n = 0; n < programs.size(); ++n) {
        const auto& row = rows[n];
        SCOPED_TRACE(row.format);
        const Outcome outcome = programs[n]->wait();
        const std::string file = std::string(row.format) + ".png";
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.out, file + "  256x6 " + row.format + "\n");
        const Png png(file);
        ASSERT_EQ(png.samples.size(), kWidth * kHeight * row.channels);
        EXPECT_EQ(png.bits, row.bits);
        for (std::size_t i = 0; i < png.samples.size(); ++i) {
            const unsigned x = static_cast<unsigned>(i / row.channels % kWidth);
            const unsigned inBar = x % (kWidth / 8);
            if (inBar >= row.border && inBar < kWidth / 8 - row.border) {
                const int wanted = row.shown(x, static_cast<unsigned>(i % row.channels)) >> (16 - row.kept);
                ASSERT_EQ(png.samples[i] >> (row.bits - row.kept), wanted) << i;
            }
        }
    }
}

TEST_F(Grab, SeveralImagesHaveNumbersAndTellOfThemselves) {
    const Outcome outcome = grab({"-n", "3", "--set", "ChunkModeActive=1", "--trigger", "--json",
                                  "--packet-size", "576", "--set", "PixelFormat=Mono12", "-o", "some.pgm"})
                                ->wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const QStringList lines = QString::fromStdString(outcome.out).split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 3);
    for (int i = 0; i < lines.size(); ++i) {
        const QJsonObject image = QJsonDocument::fromJson(lines[i].toUtf8()).object();
        const QString file = QString("some-00%1.pgm").arg(i + 1);
        EXPECT_EQ(image["file"].toString(), file);
        EXPECT_EQ(image["status"].toString(), "complete");
        EXPECT_EQ(image["blockId"].toInt(), i + 1);
        EXPECT_EQ(image["pixelFormat"].toString(), "Mono12");
        EXPECT_EQ(image["features"]["ChunkFrameID"].toInt(), i + 1);
        EXPECT_GT(image["features"]["ChunkExposureTime"].toDouble(), 0);
        const std::string bytes = contents(file.toStdString());
        EXPECT_THAT(bytes, StartsWith("P5\n256 6\n65535\n"));
        EXPECT_EQ(bytes.size(), 15 + kWidth * kHeight * 2);
    }
    EXPECT_EQ(QDir().entryList({"some*"}).size(), 3); // and nothing that was to become a picture
}

TEST_F(Grab, MistakesAndSilenceAreOneLine) {
    const struct {
        QStringList arguments;
        std::string err;
        int status = 1;
    } rows[] = {
        {{"-o", "x.gif"}, "gbe: \"x.gif\": pictures are written as png, tiff, pnm or raw (--format)\n", 2},
        {{"-n", "2", "-o", "%x.png"}, "one %d, or %03d, is the place of the number", 2},
        {{"--packet-size", "big"}, "is neither auto, keep nor a number of bytes", 2},
        {{"--set", "Widht=1"}, "gbe: Widht: illegal node (-40007): no such feature; Width, WidthMax?\n"},
        {{"-o", "no/such/folder.png"}, "gbe: no/such/folder.png: No such file or directory\n"},
        {{"-o", "/dev/full", "--format", "png"}, "gbe: /dev/full: No space left on device\n"},
        {{"--set", "TriggerMode=On", "--timeout", "0.2"},
         "gbe: waiting for an image: " +
             fault(GBE_ERROR_TIMEOUT, ": the camera waits for a trigger before it begins")},
    };
    test::Program stream(GBE, {"--port", "0", "stream", "--seconds", "3.5", "--set", "TriggerMode=On"});
    std::vector<std::unique_ptr<test::Program>> programs;
    for (const auto& row : rows) {
        programs.push_back(grab(row.arguments));
    }
    for (std::size_t n = 0; n < programs.size(); ++n) {
        const Outcome outcome = programs[n]->wait();
        EXPECT_EQ(outcome.status, rows[n].status) << rows[n].err;
        EXPECT_THAT(outcome.err, HasSubstr(rows[n].err));
        EXPECT_EQ(outcome.out, "");
    }
    EXPECT_THAT(stream.wait().err, StartsWith("gbe: no image comes: the camera waits for a trigger"));
}

TEST_F(Grab, StreamTellsUntilItIsInterrupted) {
    test::Program stream(GBE, {"--port", "0", "stream", "--set", "Width=64"});
    ASSERT_TRUE(stream.prints("\"framesPerSecond\":"));
    stream.signal(SIGINT);
    const Outcome outcome = stream.wait();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    const QByteArray last = QByteArray::fromStdString(outcome.out).trimmed().split('\n').last();
    const QJsonObject whole = QJsonDocument::fromJson(last).object();
    EXPECT_TRUE(whole["whole"].toBool());
    EXPECT_GT(whole["complete"].toInt(), 0);
    EXPECT_EQ(whole["bytes"].toInt() % 64, 0);
}

} // namespace
