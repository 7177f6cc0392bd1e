// A formula ready to be evaluated: its tokens as instructions for a small stack machine.
//
// Operands come before their operator, so that a value is computed in one pass without recursion; branches
// that are not taken are jumped over. Names were looked up before: only the slots of variables are left to
// bind.
#pragma once

#include "math/MathValue.h"
#include "math/MathVariablesInterface.h"
#include "math/tokenizer.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavo::math {

enum class Opcode : std::uint8_t {
// Operators and functions do what their Operation says: they take their arguments and leave the result.
#define LIOMOL_MATH_ENUMERATOR(operation, ...) operation,
    LIOMOL_MATH_BINARY_OPERATORS(LIOMOL_MATH_ENUMERATOR) LIOMOL_MATH_PREFIX_OPERATORS(LIOMOL_MATH_ENUMERATOR)
        LIOMOL_MATH_FUNCTIONS(LIOMOL_MATH_ENUMERATOR)
#undef LIOMOL_MATH_ENUMERATOR
            Fail, // throws `message`
    PushInteger,  // pushes `integer`
    PushFloat,    // pushes `real`
    PushVariable, // pushes the variable in slot `operand`; its name is that of token number `integer`
    JumpIfZero,   // takes a condition; goes to `operand` if it is 0
    Jump,         // goes to `operand`
    DecideAnd,    // makes the left side of && the result and goes to `operand` if that decides, else takes it
    DecideOr,     // the same for ||
    End,
};

// Slots of PushVariable that no provider gives: a name without a variable, and constants in place of one.
inline constexpr std::uint32_t kNoSlot = 0xFFFFFFFF;
inline constexpr std::uint32_t kPiSlot = 0xFFFFFFFE;
inline constexpr std::uint32_t kEulerSlot = 0xFFFFFFFD;
inline constexpr std::uint32_t kFirstConstantSlot = kEulerSlot;

struct Instruction {
    Opcode opcode;
    std::uint32_t operand;
    union {
        std::int64_t integer;
        double real;
        const char* message;
    };
};

// What kinds the values of an evaluation are of, and what it does with / and ** of two integers.
enum class EvaluationType {
    Integer, // values of both kinds; / truncates, ** is an integer power where the exponent is not negative
    Float,   // values of both kinds; / and ** are computed with doubles
    WhollyInteger, // 64-bit integers only: whatever comes as a double is truncated
    WhollyFloat,   // doubles only; what takes integers alone gets them truncated
};

class Program {
public:
    // Translates the first expression of a queue, if the queue holds all of it. Throws ScMathException
    // ("bracket error") when that has more values waiting at once than kOperandLimit; then it is incomplete.
    void compile(const TokenQueue& queue, const Quirks& quirks);
    void clear();

    bool isComplete() const { return !m_code.empty(); }

    // Asks for the slots of all variables (none has a value where `variables` is null).
    void bind(const TokenQueue& queue, MathVariablesInterface* variables);

    // As Integer or Float; wholly so without the quirk of own kinds. The program must be complete and bound
    // to these variables. Throws ScMathException, an `int` that the variables throw, and whatever else
    // reading a variable throws.
    template<EvaluationType Type> MathValue evaluate(MathVariablesInterface* variables) const;

private:
    template<EvaluationType Type> MathValue run(MathVariablesInterface* variables) const;

    std::vector<Instruction> m_code;
    std::uint32_t m_depth = 0; // values on the stack at most
    bool m_keepsKinds = true;
    bool m_knowsEuler = false;
};

} // namespace tavo::math
