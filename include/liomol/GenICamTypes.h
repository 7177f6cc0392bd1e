// The enumerations that all parts of the node runtime share. In each, 0 means that the description does not
// give the property.
#pragma once

namespace tavo {

struct GenICamTypes {
    // The kind of a node, one for each element that makes one.
    enum GenICamNodeType {
        Undefined = 0,
        Element = 1, // an element with attributes but without a node, like "pIndex" or "pVariable"
        RegisterDescription = 2,
        Boolean = 3,
        Category = 4,
        Command = 5,
        Node = 6,
        Register = 7,
        Converter = 8,
        EnumEntry = 9,
        Enumeration = 10,
        FloatReg = 11,
        Float = 12,
        IntConverter = 13,
        Integer = 14,
        IntReg = 15,
        MaskedIntReg = 16,
        Port = 17,
        StringReg = 18,
        StructReg = 19,
        SwissKnife = 20,
        IntSwissKnife = 21,
        String = 22, // made only with the standard's meaning (Quirks::noStringNodes)
    };

    // The property enumerations are scoped because "Boolean" is a node kind and a representation.

    // Not implemented and not available are no access modes: pIsImplemented and pIsAvailable tell them.
    enum class GenICamAccessModeType { NotGiven = 0, RO = 1, WO = 2, RW = 3 };
    enum class GenICamCacheModeType { NotGiven = 0, WriteThrough = 1, WriteAround = 2, NoCache = 3 };
    enum class GenICamVisibilityType { NotGiven = 0, Beginner = 1, Expert = 2, Guru = 3, Invisible = 4 };
    enum class GenICamRepresentationType {
        NotGiven = 0,
        Linear = 1,
        Logarithmic = 2,
        Boolean = 3,
        PureNumber = 4,
        HexNumber = 5,
    };
    // The two representations that make an address of a number; GenICamRepresentationType has none for them.
    enum class GenICamAddressType { NotGiven = 0, IPV4Address = 1, MACAddress = 2 };
    enum class GenICamSignType { NotGiven = 0, Signed = 1, Unsigned = 2 };
    enum class GenICamEndianessType { NotGiven = 0, LittleEndian = 1, BigEndian = 2 };
    enum class GenICamSlopeType { NotGiven = 0, Increasing = 1, Decreasing = 2, Varying = 3, Automatic = 4 };
    enum class GenICamYesNoType { NotGiven = 0, Yes = 1, No = 2 };
};

} // namespace tavo
