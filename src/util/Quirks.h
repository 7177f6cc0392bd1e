// What this system deliberately does otherwise than the GenICam standard, one member each.
//
// A member is true where the behaviour is kept as this system has it, which is the default, and false where
// the standard's meaning holds. The switch belongs to a whole device; whoever reads a description or a value
// asks the member of its concern.
#pragma once

#include <array>
#include <bit>

namespace tavo {

struct Quirks {
    // ---- formulas ----

    // A literal is an integer when it starts like one: 1.5 and 2E3 are the integers 1 and 2, 4A is 4 and 010
    // is 8. Standard: with a point or an exponent a literal is a double, without them a decimal (or 0x)
    // integer, and what follows a number makes it illegal.
    bool integerPrefixLiterals = true;

    // && and || share a level, and bit operators and shifts bind tighter than * and **. Standard: the order
    // of C, with ** above *.
    bool ownPrecedence = true;

    // The rightmost ? splits a formula, so that A?B:C?D:E is (A?B:C)?D:E, and the middle of a conditional
    // holds another one only in brackets. Standard: conditionals group to the right.
    bool leftConditionals = true;

    // Literals and variables keep their own kind in both evaluations, and bit operators and conditions refuse
    // doubles. Standard: SwissKnife and Converter compute with doubles only, of which bit operators take the
    // 64-bit integers, and IntSwissKnife and IntConverter with 64-bit integers only.
    bool ownKinds = true;

    // Equality is =, inequality <>, and E is a variable like any other. Standard: == and != besides, and E
    // (where no variable bears the name) and E() are Euler's number.
    bool fewerSymbols = true;

    // A dot ends the name of a variable, as an error. Standard: names carry suffixes such as .Value and
    // .Entry.Name, which the provider of the variables resolves.
    bool plainNames = true;

    // A variable must be an Integer or a Float node. Standard: Boolean, Enumeration and Command nodes count
    // as integers.
    bool numericVariablesOnly = true;

    // "Constant" and "Expression" elements say nothing. Standard: a Constant names a number, an Expression a
    // formula that others may use, both like variables.
    bool plainFormulas = true;

    // What a converter writes to an integer node is truncated. Standard: rounded to the nearest.
    bool truncatingConverters = true;

    // Powers group to the left, so that 2**3**2 is 64. Standard: to the right, which is 512.
    bool leftPowers = true;

    // Blanks in a formula say nothing: "1 0" is 10 and "> =" is >=. Standard: they end a number, a name and
    // an operator.
    bool blanksJoin = true;

    // ---- what the description's reader knows ----

    // A "String" node is no kind of its own: its place stays empty. Standard: it holds a text, or that of
    // its pValue.
    bool noStringNodes = true;

    // An Integer's pIndex, ValueIndexed, pValueIndexed, ValueDefault and pValueDefault say nothing. Standard:
    // the value, or the node that has it, is picked by the index.
    bool noIndexedValues = true;

    // "pValueCopy" says nothing. Standard: what is written to a value goes to its copies as well.
    bool noValueCopies = true;

    // Keywords count only without blanks around them, and numbers only where they begin the text. Standard:
    // surrounding blanks and line ends do not count.
    bool exactTexts = true;

    // A number of the description that begins with 0 is octal: 010 is 8. Standard: it is decimal, or
    // hexadecimal after 0x.
    bool octalNumbers = true;

    // A ChunkID is a number like any other. Standard: hexadecimal digits without a prefix.
    bool plainChunkIds = true;

    // A node's namespace is the attribute "Namespace", and the root's "StandardNamespace". Standard:
    // "NameSpace" and "StandardNameSpace".
    bool ownNamespaceAttribute = true;

    // A "pInvalidator" must be a register. Standard: any node invalidates.
    bool registersInvalidateOnly = true;

    // "pIndex" without "Offset" adds nothing to an address. Standard: it adds the index times the register's
    // length.
    bool plainIndexIgnored = true;

    // What a StructReg says takes the place of what its entries say. Standard: an entry's own word counts.
    bool structRegWins = true;

    // The "Value" of a Boolean is true when it is "true". Standard: also when it is "1".
    bool wordBooleansOnly = true;

    // ---- values ----

    // Whether a node is implemented, available and locked is its own matter. Standard: it is also that of the
    // nodes that it stands on.
    bool ownStatesOnly = true;

    // An imposed access mode takes the place of that of the node below. Standard: it narrows it and never
    // widens it.
    bool imposedModeWins = true;

    // A reference to an Enumeration whose number is that of no entry fails. Standard: it gives the number.
    bool entriesOnly = true;

    // A Float, FloatReg, SwissKnife or Converter without a minimum begins at the smallest positive normal
    // number. Standard: at the lowest number.
    bool positiveFloatMinimum = true;

    // An increment is counted from zero. Standard: from the minimum.
    bool incrementsFromZero = true;

    // An Integer or Float without limits or an increment, and a Converter, has the widest range. Standard: it
    // has those of its pValue, a Converter as its formula translates them.
    bool ownLimitsOnly = true;

    // ---- registers ----

    // An integer register without a "Sign" has the limits of a signed one. Standard: it is unsigned.
    bool absentSignLimitsSigned = true;

    // A text is as long as its register. Standard: it ends at its first zero byte.
    bool textsKeepZeros = true;

    // A little-endian register of 4 bytes is reversed like any other. Standard: in descriptions of a schema
    // below 1.1 it carries the number that the register command transports, most significant byte first.
    bool littleEndianWords = true;

    // A write of any length and to any address goes to the camera as it is, which rounds it to words.
    // Standard: what does not fill its words reads them and writes them back, so that neighbours stay.
    bool unalignedWrites = true;

    // A NoCache register without a "PollingTime" keeps its content for a second. Standard: no read is spared.
    bool noCacheForASecond = true;

    // What is written over a NoCache register is reported for the nodes that were given the value, and not
    // for those that read from them. Standard: a write spreads like any other.
    bool volatileStopsWrites = true;

    // The standard's meaning everywhere.
    static constexpr Quirks none();

    bool operator==(const Quirks&) const = default;
};

// All members are bool, so that no later one can be forgotten here.
constexpr Quirks Quirks::none() {
    return std::bit_cast<Quirks>(std::array<bool, sizeof(Quirks)>{});
}

} // namespace tavo
