#include "math/program.h"

#include "liomol/exceptions.h"
#include "math/limits.h"
#include "math/literals.h"
#include "math/messages.h"

#include <algorithm>
#include <utility>

namespace tavo::math {

namespace {

Opcode opcodeOf(Operation operation) {
    return static_cast<Opcode>(operation);
}

static_assert(static_cast<int>(Opcode::Fail) == static_cast<int>(Operation::Unknown));

// Turns prefix order into instructions. Each operator or function whose arguments are not all done waits on a
// stack of its own; what it needs between two arguments (a jump) is placed as soon as the first is done.
class Compiler {
public:
    Compiler(const TokenQueue& queue, bool hasStandardLiterals)
        : m_queue(queue), m_hasStandardLiterals(hasStandardLiterals) {}

    // False if the queue ends before the expression does.
    bool run();

    std::vector<Instruction> takeCode() { return std::move(m_code); }
    std::size_t depth() const { return m_maximumDepth; }

private:
    struct Pending {
        Operation operation;
        unsigned arguments;
        unsigned done;
        std::size_t jump; // the latest jump of this one, which still needs its goal
    };

    void begin(const Token& token, std::size_t number);
    void finishOperand();
    void place(Opcode opcode, std::int64_t integer, int depthChange);
    void placeLiteral(std::string_view text);
    void placeFailure(const char* message);
    void placeBetween(Pending& pending);
    void placeEnd(const Pending& pending);
    void placeJump(Pending& pending, Opcode opcode);
    void landJump(const Pending& pending);

    const TokenQueue& m_queue;
    bool m_hasStandardLiterals;
    std::vector<Instruction> m_code;
    std::vector<Pending> m_pending;
    std::size_t m_depth = 0;
    std::size_t m_maximumDepth = 0;
    unsigned m_unreachable = 0; // functions waiting that fail before their arguments are evaluated
};

bool Compiler::run() {
    const std::vector<Token>& tokens = m_queue.tokens();
    m_code.reserve(tokens.size() + tokens.size() / 2 + 1);
    for (std::size_t number = 0; number < tokens.size(); ++number) {
        begin(tokens[number], number);
        if (m_pending.empty()) {
            place(Opcode::End, 0, 0);
            return true;
        }
    }
    return false;
}

void Compiler::begin(const Token& token, std::size_t number) {
    if (token.kind == MathTokenKind::Function && token.arguments > 0) {
        if (token.operation == Operation::Unknown) {
            placeFailure(message::kIllegalFunction);
            ++m_unreachable;
        }
        m_pending.push_back({token.operation, token.arguments, 0, 0});
        return;
    }
    if (token.kind == MathTokenKind::Number) {
        placeLiteral(m_queue.name(token));
    } else if (token.kind == MathTokenKind::Variable) {
        place(Opcode::PushVariable, static_cast<std::int64_t>(number), 1);
    } else {
        place(opcodeOf(token.operation), 0, 1);
    }
    finishOperand();
}

void Compiler::finishOperand() {
    while (!m_pending.empty()) {
        Pending& pending = m_pending.back();
        if (++pending.done < pending.arguments) {
            placeBetween(pending);
            return;
        }
        placeEnd(pending);
        m_pending.pop_back();
    }
}

void Compiler::place(Opcode opcode, std::int64_t integer, int depthChange) {
    if (m_unreachable > 0) {
        return;
    }
    Instruction instruction;
    instruction.opcode = opcode;
    instruction.operand = kNoSlot;
    instruction.integer = integer;
    m_code.push_back(instruction);
    m_depth += static_cast<std::size_t>(depthChange);
    m_maximumDepth = std::max(m_maximumDepth, m_depth);
    if (m_maximumDepth > kOperandLimit) {
        throw ScMathException(message::kBracket);
    }
}

void Compiler::placeLiteral(std::string_view text) {
    if (m_unreachable > 0) {
        return;
    }
    const Literal literal = m_hasStandardLiterals ? readStandardLiteral(text) : readLiteral(text);
    if (literal.integer) {
        place(Opcode::PushInteger, *literal.integer, 1);
    } else if (literal.real) {
        place(Opcode::PushFloat, 0, 1);
        m_code.back().real = *literal.real;
    } else {
        placeFailure(message::kIllegalNumber);
    }
}

// Stands for a value, so that what follows finds the stack as it expects it.
void Compiler::placeFailure(const char* text) {
    if (m_unreachable > 0) {
        return;
    }
    place(Opcode::Fail, 0, 1);
    m_code.back().message = text;
}

void Compiler::placeBetween(Pending& pending) {
    if (pending.operation == Operation::LogicalAnd) {
        placeJump(pending, Opcode::DecideAnd);
    } else if (pending.operation == Operation::LogicalOr) {
        placeJump(pending, Opcode::DecideOr);
    } else if (pending.operation == Operation::Conditional && pending.done == 1) {
        placeJump(pending, Opcode::JumpIfZero);
    } else if (pending.operation == Operation::Conditional) {
        const Pending condition = pending;
        placeJump(pending, Opcode::Jump);
        landJump(condition);
    }
}

void Compiler::placeEnd(const Pending& pending) {
    if (pending.operation == Operation::Unknown) {
        --m_unreachable;
        return;
    }
    const bool isDecision =
        pending.operation == Operation::LogicalAnd || pending.operation == Operation::LogicalOr;
    if (isDecision) {
        place(opcodeOf(pending.operation), 0, 0);
    } else if (pending.operation != Operation::Conditional) {
        place(opcodeOf(pending.operation), 0, 1 - static_cast<int>(pending.arguments));
    }
    if (isDecision || pending.operation == Operation::Conditional) {
        landJump(pending);
    }
}

// Every jump leaves one value less for the code behind it than there was before.
void Compiler::placeJump(Pending& pending, Opcode opcode) {
    pending.jump = m_code.size();
    place(opcode, 0, -1);
}

void Compiler::landJump(const Pending& pending) {
    if (m_unreachable == 0) {
        m_code[pending.jump].operand = static_cast<std::uint32_t>(m_code.size());
    }
}

} // namespace

void Program::compile(const TokenQueue& queue, const Quirks& quirks) {
    clear();
    Compiler compiler(queue, !quirks.integerPrefixLiterals);
    if (!compiler.run()) {
        return;
    }
    m_code = compiler.takeCode();
    m_code.shrink_to_fit();
    m_depth = static_cast<std::uint32_t>(compiler.depth());
    m_keepsKinds = quirks.ownKinds;
    m_knowsEuler = !quirks.fewerSymbols;
}

void Program::clear() {
    m_code.clear();
    m_depth = 0;
}

// A variable named PI without a value of its own is pi, and the standard's E likewise.
void Program::bind(const TokenQueue& queue, MathVariablesInterface* variables) {
    for (Instruction& instruction : m_code) {
        if (instruction.opcode != Opcode::PushVariable) {
            continue;
        }
        const auto number = static_cast<std::size_t>(instruction.integer);
        const std::string_view name = queue.name(queue.tokens()[number]);
        const int slot = variables ? variables->resolveVariable(name) : MathVariablesInterface::kNoVariable;
        if (slot >= 0) {
            instruction.operand = static_cast<std::uint32_t>(slot);
        } else if (name == "PI") {
            instruction.operand = kPiSlot;
        } else {
            instruction.operand = name == "E" && m_knowsEuler ? kEulerSlot : kNoSlot;
        }
    }
}

} // namespace tavo::math
