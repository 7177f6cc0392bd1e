// Pixel formats: nanoseconds of a processor a pixel, from a camera's bytes to the form that keeps what they
// have, and to 8 bits. 1920x1080, as the software camera sends them.
#include "pixels/pixels.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

constexpr std::uint32_t kWidth = 1920;
constexpr std::uint32_t kHeight = 1080;

void convert(benchmark::State& state, std::uint32_t format, pixels::Form form) {
    std::vector<std::uint8_t> bytes(std::size_t{kWidth} * kHeight * gvsp::bitsPerPixel(format) / 8);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 2654435761U >> 24);
    }
    const pixels::View image{bytes, format, kWidth, kHeight, 0};
    std::vector<std::uint8_t> out(pixels::sizeOf(image, form));
    for (auto _ : state) {
        benchmark::DoNotOptimize(pixels::convert(image, form, out));
        benchmark::ClobberMemory();
    }
    state.counters["pixel"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * kWidth * kHeight,
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

} // namespace

int main(int argc, char** argv) {
    using pixels::Form;
    for (const std::uint32_t format :
         {0x01080001, 0x01100003, 0x01100005, 0x01100007, 0x010C0004, 0x010C0006, 0x010A0046, 0x010C0047,
          0x01080009, 0x01100011, 0x010C0059, 0x02180014, 0x02180015, 0x02180021, 0x020C001E, 0x0210001F,
          0x02180020}) {
        const std::string name(pixels::formatName(format));
        const Form natural = pixels::naturalForm(format);
        benchmark::RegisterBenchmark((name + "/kept").c_str(), convert, format, natural);
        if (natural == Form::Mono16 || natural == Form::Rgb16) {
            const Form small = natural == Form::Mono16 ? Form::Mono8 : Form::Rgb8;
            benchmark::RegisterBenchmark((name + "/8").c_str(), convert, format, small);
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
