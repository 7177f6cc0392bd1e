#include "liomol/exceptions.h"
#include "math/arithmetic.h"
#include "math/limits.h"
#include "math/messages.h"
#include "math/program.h"

#include <cassert>

namespace tavo::math {

namespace {

// Formulas wait for few values at once; only the odd one needs a stack of the largest size.
constexpr std::size_t kUsualDepth = 16;

[[noreturn, gnu::cold, gnu::noinline]] void fail(const char* text) {
    throw ScMathException(text);
}

constexpr bool isWholly(EvaluationType type) {
    return type == EvaluationType::WhollyInteger || type == EvaluationType::WhollyFloat;
}

constexpr bool isForIntegers(EvaluationType type) {
    return type == EvaluationType::Integer || type == EvaluationType::WhollyInteger;
}

constexpr bool isBitOperator(Opcode opcode) {
    switch (opcode) {
    case Opcode::BinaryAnd:
    case Opcode::BinaryOr:
    case Opcode::BinaryXor:
    case Opcode::BinaryNot:
    case Opcode::ShiftLeft:
    case Opcode::ShiftRight:
        return true;
    default:
        return false;
    }
}

// A value as the evaluation has all of its own.
template<EvaluationType Type> MathValue settled(const MathValue& value) {
    if constexpr (Type == EvaluationType::WhollyInteger) {
        return MathValue::fromInteger(value.toInteger());
    } else if constexpr (Type == EvaluationType::WhollyFloat) {
        return MathValue::fromFloat(value.toFloat());
    } else {
        return value;
    }
}

// An operand where only an integer will do: of doubles only, it is truncated.
template<EvaluationType Type> MathValue integral(const MathValue& value) {
    return Type == EvaluationType::WhollyFloat ? MathValue::fromInteger(value.toInteger()) : value;
}

bool areIntegers(const MathValue& left, const MathValue& right) {
    return left.isInteger() && right.isInteger();
}

void expectInteger(const MathValue& value, const char* text) {
    if (!value.isInteger()) {
        [[unlikely]] fail(text);
    }
}

// One float operand makes the result a float.
template<typename IntegerFunction, typename FloatFunction>
MathValue
arithmetic(const MathValue& left, const MathValue& right, IntegerFunction integers, FloatFunction floats) {
    if (areIntegers(left, right)) {
        [[likely]] return MathValue::fromInteger(integers(left.integer, right.integer));
    }
    return MathValue::fromFloat(floats(left.toFloat(), right.toFloat()));
}

template<typename Relation>
MathValue compare(const MathValue& left, const MathValue& right, Relation relation) {
    const bool holds = areIntegers(left, right) ? relation(left.integer, right.integer)
                                                : relation(left.toFloat(), right.toFloat());
    return MathValue::fromInteger(holds);
}

template<typename IntegerFunction>
MathValue bits(const MathValue& left, const MathValue& right, const char* text, IntegerFunction function) {
    if (!areIntegers(left, right)) {
        [[unlikely]] fail(text);
    }
    return MathValue::fromInteger(function(left.integer, right.integer));
}

template<typename IntegerFunction, typename FloatFunction>
MathValue unary(const MathValue& x, IntegerFunction integer, FloatFunction real) {
    return x.isInteger() ? MathValue::fromInteger(integer(x.integer)) : MathValue::fromFloat(real(x.real));
}

template<EvaluationType Type> MathValue divide(const MathValue& left, const MathValue& right) {
    if (right.toFloat() == 0) {
        fail(message::kDivisionByZero);
    }
    if (isForIntegers(Type) && areIntegers(left, right)) {
        return MathValue::fromInteger(quotient(left.integer, right.integer));
    }
    return MathValue::fromFloat(left.toFloat() / right.toFloat());
}

MathValue remainderOf(const MathValue& left, const MathValue& right) {
    if (right.toFloat() == 0) {
        fail(message::kDivisionByZero);
    }
    return arithmetic(left, right, remainder, [](double a, double b) { return std::fmod(a, b); });
}

template<EvaluationType Type> MathValue raise(const MathValue& base, const MathValue& exponent) {
    if (isForIntegers(Type) && areIntegers(base, exponent) && exponent.integer >= 0) {
        return MathValue::fromInteger(power(base.integer, exponent.integer));
    }
    return MathValue::fromFloat(std::pow(base.toFloat(), exponent.toFloat()));
}

// An integer stays one, also where digits before the point are rounded away.
MathValue roundTo(const MathValue& x, const MathValue& precision) {
    expectInteger(precision, message::kFloatPrecision);
    if (!x.isInteger()) {
        return MathValue::fromFloat(roundedTo(x.real, precision.integer));
    }
    if (precision.integer >= 0) {
        return x;
    }
    return MathValue::fromInteger(MathValue::truncated(roundedTo(x.toFloat(), precision.integer)));
}

constexpr auto kSame = [](std::int64_t x) { return x; };

// Where values keep their kinds, only integers are conditions.
template<EvaluationType Type> bool isTrue(const MathValue& x, const char* text) {
    if constexpr (isWholly(Type)) {
        return Type == EvaluationType::WhollyFloat ? x.real != 0 : x.integer != 0;
    } else {
        expectInteger(x, text);
        return x.integer != 0;
    }
}

// What leaves one value for one.
template<EvaluationType Type, Opcode Op> MathValue transform(const MathValue& x) {
    switch (Op) {
    case Opcode::LogicalAnd: // the right sides; DecideAnd and DecideOr saw the left ones
        return MathValue::fromInteger(isTrue<Type>(x, message::kFloatLogicalAnd));
    case Opcode::LogicalOr:
        return MathValue::fromInteger(isTrue<Type>(x, message::kFloatLogicalOr));
    case Opcode::BinaryNot:
        expectInteger(x, message::kFloatBinaryNot);
        return MathValue::fromInteger(~x.integer);
    case Opcode::Sgn:
        return unary(
            x, [](std::int64_t i) { return signOf(i); }, [](double d) { return signOf(d); });
    case Opcode::UnaryMinus:
    case Opcode::Neg:
        return unary(x, negated, [](double d) { return -d; });
    case Opcode::Abs:
        return unary(x, absolute, [](double d) { return std::fabs(d); });
    case Opcode::Floor:
        return unary(x, kSame, [](double d) { return std::floor(d); });
    case Opcode::Ceil:
        return unary(x, kSame, [](double d) { return std::ceil(d); });
    case Opcode::Trunc:
        return unary(x, kSame, [](double d) { return std::trunc(d); });
    case Opcode::Round:
        return unary(x, kSame, [](double d) { return std::floor(d + 0.5); });
    case Opcode::Atan:
        return MathValue::fromFloat(std::atan(x.toFloat()));
    case Opcode::Acos:
        return MathValue::fromFloat(std::acos(x.toFloat()));
    case Opcode::Asin:
        return MathValue::fromFloat(std::asin(x.toFloat()));
    case Opcode::Exp:
        return MathValue::fromFloat(std::exp(x.toFloat()));
    case Opcode::Ln:
        return MathValue::fromFloat(std::log(x.toFloat()));
    case Opcode::Lg:
        return MathValue::fromFloat(std::log10(x.toFloat()));
    case Opcode::Sqrt:
        return MathValue::fromFloat(std::sqrt(x.toFloat()));
    case Opcode::Sin:
        return MathValue::fromFloat(std::sin(x.toFloat()));
    case Opcode::Cos:
        return MathValue::fromFloat(std::cos(x.toFloat()));
    case Opcode::Tan:
        return MathValue::fromFloat(std::tan(x.toFloat()));
    default:
        return x;
    }
}

// What leaves one value for two.
template<EvaluationType Type, Opcode Op> MathValue combine(const MathValue& a, const MathValue& b) {
    using I = std::int64_t;
    switch (Op) {
    case Opcode::NotEqual:
        return compare(a, b, [](auto x, auto y) { return x != y; });
    case Opcode::LessOrEqual:
        return compare(a, b, [](auto x, auto y) { return x <= y; });
    case Opcode::GreaterOrEqual:
        return compare(a, b, [](auto x, auto y) { return x >= y; });
    case Opcode::Equal:
        return compare(a, b, [](auto x, auto y) { return x == y; });
    case Opcode::Less:
        return compare(a, b, [](auto x, auto y) { return x < y; });
    case Opcode::Greater:
        return compare(a, b, [](auto x, auto y) { return x > y; });
    case Opcode::Addition:
        return arithmetic(
            a, b, [](I x, I y) { return wrapped(bitsOf(x) + bitsOf(y)); },
            [](double x, double y) { return x + y; });
    case Opcode::Subtraction:
        return arithmetic(
            a, b, [](I x, I y) { return wrapped(bitsOf(x) - bitsOf(y)); },
            [](double x, double y) { return x - y; });
    case Opcode::Multiplication:
        return arithmetic(
            a, b, [](I x, I y) { return wrapped(bitsOf(x) * bitsOf(y)); },
            [](double x, double y) { return x * y; });
    case Opcode::Division:
        return divide<Type>(a, b);
    case Opcode::Remainder:
        return remainderOf(a, b);
    case Opcode::Power:
        return raise<Type>(a, b);
    case Opcode::BinaryAnd:
        return bits(a, b, message::kFloatBinaryAnd, [](I x, I y) { return x & y; });
    case Opcode::BinaryOr:
        return bits(a, b, message::kFloatBinaryOr, [](I x, I y) { return x | y; });
    case Opcode::BinaryXor:
        return bits(a, b, message::kFloatBinaryXor, [](I x, I y) { return x ^ y; });
    case Opcode::ShiftLeft:
        return bits(a, b, message::kFloatShiftLeft, shiftedLeft);
    case Opcode::ShiftRight:
        return bits(a, b, message::kFloatShiftRight, shiftedRight);
    default:
        static_assert(Op != Opcode::Conditional, "a conditional is all jumps");
        return roundTo(a, integral<Type>(b));
    }
}

constexpr bool takesTwo(Opcode opcode) {
    const bool isBinary = opcode < Opcode::UnaryMinus;
    const bool isDecision = opcode == Opcode::LogicalAnd || opcode == Opcode::LogicalOr;
    return (isBinary && !isDecision) || opcode == Opcode::RoundTo;
}

// Applies an operator or function to the values below `top`; returns the new top.
template<EvaluationType Type, Opcode Op> [[gnu::always_inline]] inline MathValue* apply(MathValue* top) {
    if constexpr (Op == Opcode::Conditional) {
        assert(false); // a conditional is all jumps
        return top;
    } else if constexpr (Op == Opcode::Pi || Op == Opcode::Euler) {
        *top = settled<Type>(MathValue::fromFloat(Op == Opcode::Pi ? std::numbers::pi : std::numbers::e));
        return top + 1;
    } else if constexpr (takesTwo(Op) && isBitOperator(Op)) {
        top[-2] = settled<Type>(combine<Type, Op>(integral<Type>(top[-2]), integral<Type>(top[-1])));
        return top - 1;
    } else if constexpr (takesTwo(Op)) {
        top[-2] = settled<Type>(combine<Type, Op>(top[-2], top[-1]));
        return top - 1;
    } else {
        const MathValue operand = isBitOperator(Op) ? integral<Type>(top[-1]) : top[-1];
        top[-1] = settled<Type>(transform<Type, Op>(operand));
        return top;
    }
}

[[gnu::cold, gnu::noinline]] MathValue constantIn(std::uint32_t slot) {
    if (slot == kNoSlot) {
        fail(message::kIllegalIdentifier);
    }
    return MathValue::fromFloat(slot == kPiSlot ? std::numbers::pi : std::numbers::e);
}

MathValue variableIn(std::uint32_t slot, MathVariablesInterface* variables) {
    if (slot >= kFirstConstantSlot) {
        [[unlikely]] return constantIn(slot);
    }
    return variables->getVariable(static_cast<int>(slot));
}

// && and || stop at the side that decides: `decision` is what it is then known to be.
template<EvaluationType Type> bool decides(MathValue& left, bool decision, const char* text) {
    const bool isDecided = isTrue<Type>(left, text) == decision;
    left = settled<Type>(MathValue::fromInteger(decision));
    return isDecided;
}

template<EvaluationType Type>
MathValue interpret(const Instruction* const code, MathVariablesInterface* variables, MathValue* top) {
    for (const Instruction* next = code;;) {
        const Instruction& instruction = *next++;
        switch (instruction.opcode) {
        case Opcode::PushInteger:
            *top++ = settled<Type>(MathValue::fromInteger(instruction.integer));
            break;
        case Opcode::PushFloat:
            *top++ = settled<Type>(MathValue::fromFloat(instruction.real));
            break;
        case Opcode::PushVariable:
            *top++ = settled<Type>(variableIn(instruction.operand, variables));
            break;
        case Opcode::JumpIfZero:
            if (!isTrue<Type>(*--top, message::kFloatCondition)) {
                next = code + instruction.operand;
            }
            break;
        case Opcode::Jump:
            next = code + instruction.operand;
            break;
        case Opcode::DecideAnd:
            if (decides<Type>(top[-1], false, message::kFloatLogicalAnd)) {
                next = code + instruction.operand;
            } else {
                --top;
            }
            break;
        case Opcode::DecideOr:
            if (decides<Type>(top[-1], true, message::kFloatLogicalOr)) {
                next = code + instruction.operand;
            } else {
                --top;
            }
            break;
#define LIOMOL_MATH_CASE(operation, ...)                                                                     \
    case Opcode::operation:                                                                                  \
        top = apply<Type, Opcode::operation>(top);                                                           \
        break;
            LIOMOL_MATH_BINARY_OPERATORS(LIOMOL_MATH_CASE)
            LIOMOL_MATH_PREFIX_OPERATORS(LIOMOL_MATH_CASE)
            LIOMOL_MATH_FUNCTIONS(LIOMOL_MATH_CASE)
#undef LIOMOL_MATH_CASE
        case Opcode::Fail:
            fail(instruction.message);
        case Opcode::End:
            return top[-1];
        }
    }
}

template<EvaluationType Type, std::size_t Depth>
[[gnu::noinline]] MathValue runOnStack(const Instruction* code, MathVariablesInterface* variables) {
    MathValue stack[Depth];
    return interpret<Type>(code, variables, stack);
}

} // namespace

template<EvaluationType Type> MathValue Program::run(MathVariablesInterface* variables) const {
    return m_depth <= kUsualDepth ? runOnStack<Type, kUsualDepth>(m_code.data(), variables)
                                  : runOnStack<Type, kOperandLimit>(m_code.data(), variables);
}

template<EvaluationType Type> MathValue Program::evaluate(MathVariablesInterface* variables) const {
    constexpr EvaluationType kWholly =
        Type == EvaluationType::Integer ? EvaluationType::WhollyInteger : EvaluationType::WhollyFloat;
    if (m_keepsKinds) {
        [[likely]] return run<Type>(variables);
    }
    return run<kWholly>(variables);
}

template MathValue Program::evaluate<EvaluationType::Integer>(MathVariablesInterface* variables) const;
template MathValue Program::evaluate<EvaluationType::Float>(MathVariablesInterface* variables) const;

} // namespace tavo::math
