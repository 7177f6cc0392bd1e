// Formulas: reading them, and setting a variable and evaluating them, over a table of variables like that of
// a formula node.
#include "math/MathParser.h"

#include <benchmark/benchmark.h>

#include <array>
#include <string>
#include <string_view>

namespace {

class Variables : public tavo::MathVariablesInterface {
public:
    static constexpr std::array<std::string_view, 4> kNames = {"A", "B", "SELECTOR", "WIDTH"};

    Variables() {
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = tavo::MathValue::fromInteger(static_cast<std::int64_t>(i) + 1);
    }
    std::int64_t getIntegerVariable(const std::string& name) override {
        return getVariable(resolveVariable(name)).toInteger();
    }
    double getFloatVariable(const std::string& name) override {
        return getVariable(resolveVariable(name)).toFloat();
    }
    int resolveVariable(std::string_view name) override {
        for (std::size_t i = 0; i < kNames.size(); ++i) {
            if (kNames[i] == name)
                return static_cast<int>(i);
        }
        return kNoVariable;
    }
    tavo::MathValue getVariable(int slot) override { return values[static_cast<std::size_t>(slot)]; }

    std::array<tavo::MathValue, kNames.size()> values;
};

struct Formula {
    const char* name;
    const char* text;
};

constexpr std::array<Formula, 6> kFormulas = {{
    {"variable", "A"},
    {"sum_product", "(A+B)*2"},
    {"conditional", "(A>100)?(B*2):(A+B)"},
    {"address", "0x10000 + (SELECTOR & 0xFF) * 0x40 + ((SELECTOR >> 8) & 0x3) * 4"},
    {"functions", "ROUND(SQRT(A * A + B * B) / .5, 2) + LN(WIDTH)"},
    {"long_192",
     "(SELECTOR=0)?(((A&0xFF)<<8)|((B>>4)&0x0F)):((SELECTOR=1)?((A+B)*2-WIDTH/4):((SELECTOR=2)?"
     "(((WIDTH-A)*(WIDTH-B))%1024+(A**2)):((SELECTOR>=100)&&(WIDTH<>0)?((A*1000)/(WIDTH+B)):(A|B|SELECTOR"
     "))))"},
}};

void evaluate(benchmark::State& state, const Formula& formula) {
    Variables variables;
    tavo::MathParser parser;
    parser.tokenize(formula.text, &variables);
    std::int64_t n = 0;
    for (auto _ : state) {
        // Every variable takes turns over small values, so that every branch is taken now and then.
        variables.values[0].integer = n & 127;
        variables.values[2].integer = n & 3;
        ++n;
        benchmark::DoNotOptimize(parser.evaluateInteger());
    }
}

void evaluateAsFloat(benchmark::State& state, const Formula& formula) {
    Variables variables;
    tavo::MathParser parser;
    parser.tokenize(formula.text, &variables);
    std::int64_t n = 0;
    for (auto _ : state) {
        variables.values[0].integer = n++ & 127;
        benchmark::DoNotOptimize(parser.evaluateFloat());
    }
}

void tokenize(benchmark::State& state, const Formula& formula) {
    Variables variables;
    const std::string text = formula.text;
    for (auto _ : state) {
        tavo::MathParser parser;
        parser.tokenize(text, &variables);
        benchmark::DoNotOptimize(parser.isEmpty());
    }
    state.counters["characters"] = static_cast<double>(text.size());
}

} // namespace

int main(int argc, char** argv) {
    for (const Formula& formula : kFormulas) {
        const std::string name = formula.name;
        benchmark::RegisterBenchmark(("evaluateInteger/" + name).c_str(), evaluate, formula);
        benchmark::RegisterBenchmark(("evaluateFloat/" + name).c_str(), evaluateAsFloat, formula);
        benchmark::RegisterBenchmark(("tokenize/" + name).c_str(), tokenize, formula);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
