// Streams of cameras in software whose images are the pattern "Encoded", and what their bytes must be.
#pragma once

#include "liomol/features.h"
#include "liomol/images.h"
#include "simcam/encoded_pattern.h"
#include "system/session.h"

#include <cstring>
#include <utility>

// What the camera offers: how samples lie in bytes.
struct PixelsOfFormat {
    const char* name;
    unsigned bits;    // of a sample
    unsigned samples; // of a pixel
    unsigned room;    // bits of the memory that a sample takes; 12: two in three bytes
};
inline constexpr PixelsOfFormat kFormats[] = {
    {"Mono8", 8, 1, 8},      {"Mono10", 10, 1, 16},       {"Mono10Packed", 10, 1, 12},
    {"Mono12", 12, 1, 16},   {"Mono12Packed", 12, 1, 12}, {"Mono16", 16, 1, 16},
    {"BayerRG8", 8, 1, 8},   {"BayerRG10", 10, 1, 16},    {"BayerRG12", 12, 1, 16},
    {"RGB8Packed", 8, 3, 8}, {"BGR8Packed", 8, 3, 8},     {"YUV422Packed", 8, 2, 8},
};

inline unsigned sampleOf(const unsigned char* bytes, const PixelsOfFormat& format, std::size_t index) {
    if (format.room == 8) {
        return bytes[index];
    }
    if (format.room == 16) {
        return bytes[2 * index] | static_cast<unsigned>(bytes[2 * index + 1]) << 8;
    }
    const unsigned char* const pair = bytes + index / 2 * 3;
    const unsigned low = format.bits - 8;
    const unsigned lower = pair[1] >> (index % 2 * 4) & ((1U << low) - 1);
    return static_cast<unsigned>(pair[index % 2 * 2]) << low | lower;
}

// Every byte that has arrived is the camera's; what is missing lies within the image.
inline void expectEncoded(const GbeImage& image, const PixelsOfFormat& format = kFormats[0]) {
    const std::size_t count = std::size_t{image.width} * image.height * format.samples;
    ASSERT_EQ(image.size, count * format.room / 8);
    ASSERT_STREQ(image.pixelFormatName, format.name);
    std::vector<bool> missing(image.size);
    std::uint64_t missingBytes = 0;
    for (std::size_t i = 0; i < image.missingCount; ++i) {
        ASSERT_LE(image.missing[i].offset + image.missing[i].length, image.size);
        missingBytes += image.missing[i].length;
        std::fill_n(
            missing.begin() + static_cast<std::ptrdiff_t>(image.missing[i].offset), image.missing[i].length,
            true);
    }
    EXPECT_EQ(missingBytes, image.missingBytes);
    EXPECT_EQ(image.status, missingBytes == 0 ? GBE_IMAGE_COMPLETE : GBE_IMAGE_INCOMPLETE);
    const auto* const bytes = static_cast<const unsigned char*>(image.data);
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const bool there = !missing[i * format.room / 8] && !missing[((i + 1) * format.room - 1) / 8];
        wrong += there && sampleOf(bytes, format, i) != simcam::encodedSample(image.blockId, i, format.bits);
    }
    EXPECT_EQ(wrong, 0U) << "samples of block " << image.blockId << " are not the camera's";
}

inline void setUp(
    CameraHandle* camera, std::initializer_list<std::pair<const char*, long long>> numbers,
    std::initializer_list<std::pair<const char*, const char*>> entries = {}) {
    for (const auto& [name, entry] : entries) {
        EXPECT_EQ(Gbe_setEnumerationValue(camera, name, entry), 0) << name;
    }
    for (const auto& [name, number] : numbers) {
        EXPECT_EQ(Gbe_setIntegerValue(camera, name, number), 0) << name;
    }
    EXPECT_EQ(Gbe_setEnumerationValue(camera, "TestPattern", "Encoded"), 0);
    EXPECT_EQ(Gbe_setBooleanValue(camera, "AcquisitionFrameRateEnable", 1), 0);
    EXPECT_EQ(Gbe_setFloatValue(camera, "ExposureTime", 100), 0);
    EXPECT_EQ(Gbe_setFloatValue(camera, "AcquisitionFrameRate", 200), 0);
}

inline GbeStreamOptions streamOptions() {
    GbeStreamOptions options;
    EXPECT_EQ(Gbe_initStreamOptions(&options), 0);
    return options;
}

inline GbeStream* openStream(CameraHandle* camera, const GbeStreamOptions& options = streamOptions()) {
    GbeStream* stream = nullptr;
    EXPECT_EQ(Gbe_openStream(camera, &options, &stream), 0);
    return stream;
}

inline GbeStreamStatistics statisticsOf(GbeStream* stream) {
    GbeStreamStatistics statistics{};
    EXPECT_EQ(Gbe_getStreamStatistics(stream, &statistics), 0);
    return statistics;
}

inline std::string troubleOf(GbeStream* stream) {
    std::string text(500, '\0');
    auto size = static_cast<unsigned>(text.size());
    EXPECT_EQ(Gbe_getStreamTrouble(stream, text.data(), &size), 0);
    return text.c_str();
}

constexpr int kPatient = 20000; // milliseconds that only a fault can take

// Fetches images, looks at each, and gives it back.
template<typename Look> void fetch(GbeStream* stream, int count, Look&& look) {
    for (int i = 0; i < count; ++i) {
        GbeImage image{};
        ASSERT_EQ(Gbe_waitImage(stream, kPatient, &image), 0) << troubleOf(stream);
        look(image);
        EXPECT_EQ(Gbe_giveBackImage(stream, image.id), 0);
    }
}

inline void setChunks(CameraHandle* camera, std::initializer_list<const char*> chunks) {
    EXPECT_EQ(Gbe_setBooleanValue(camera, "ChunkModeActive", chunks.size() != 0 ? 1 : 0), 0);
    for (const char* const chunk : chunks) {
        EXPECT_EQ(Gbe_setEnumerationValue(camera, "ChunkSelector", chunk), 0);
        EXPECT_EQ(Gbe_setBooleanValue(camera, "ChunkEnable", 1), 0);
    }
}

// Every format, with both kinds of ids, as plain images and with chunks behind them.
inline void expectEveryPixelOfEveryFormat(CameraHandle* camera) {
    setUp(camera, {{"Width", 64}, {"Height", 48}, {"OffsetX", 8}, {"OffsetY", 4}});
    for (const PixelsOfFormat& format : kFormats) {
        setUp(camera, {}, {{"PixelFormat", format.name}});
        for (const int extendedIds : {1, 0}) {
            GbeStreamOptions options = streamOptions();
            options.extendedIds = extendedIds;
            options.packetSize = 1500;
            options.patienceMs = kPatient;
            options.bufferSize = std::size_t{64} * 48 * 3 + 1000;
            GbeStream* const stream = openStream(camera, options);
            for (const bool chunks : {false, true}) {
                SCOPED_TRACE(std::string(format.name) + (chunks ? " with chunks" : ""));
                chunks ? setChunks(camera, {"FrameID"}) : setChunks(camera, {});
                ASSERT_EQ(Gbe_startAcquisition(camera), 0);
                std::uint64_t last = 0;
                std::uint64_t lastNs = 0;
                fetch(stream, 3, [&](const GbeImage& image) {
                    expectEncoded(image, format);
                    EXPECT_EQ(image.payloadType, chunks ? 0x4001U : 1U);
                    EXPECT_EQ(image.chunkCount > 0, chunks);
                    EXPECT_EQ(image.offsetX, 8U);
                    EXPECT_EQ(image.offsetY, 4U);
                    EXPECT_GT(image.blockId, last); // a camera that is short of time leaves frames out
                    EXPECT_EQ(image.timestampNs, image.timestamp * 8) << "125 MHz";
                    EXPECT_GT(image.timestampNs, lastNs);
                    last = image.blockId;
                    lastNs = image.timestampNs;
                });
                EXPECT_EQ(Gbe_stopAcquisition(camera), 0);
            }
            EXPECT_EQ(Gbe_closeStream(stream), 0);
        }
    }
}
