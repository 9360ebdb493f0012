#pragma once
#include <cstdint>

namespace model {

/// One value with its written spelling.
struct Spelling {
    std::int32_t value;
    const char* text;
};

/// One symbol of the attribute table with the value it reads as.
struct Reading {
    int symbol;
    std::int32_t value;
};

/// An enumerated field's spellings. Writing maps a value to its spelling, any
/// value not listed to `otherText`; reading maps the symbol number of the
/// value's text (from the schema's attribute table) to a value, any symbol not
/// listed (-1 included) to `otherValue`. The two directions are deliberately
/// not always inverse.
struct EnumTable {
    const Spelling* spellings;
    int spellingCount;
    const char* otherText;
    const Reading* readings;
    int readingCount;
    std::int32_t otherValue;

    const char* spell(std::int32_t value) const noexcept {
        for (int i = 0; i < spellingCount; ++i) {
            if (spellings[i].value == value) return spellings[i].text;
        }
        return otherText;
    }
    std::int32_t read(int symbol) const noexcept {
        for (int i = 0; i < readingCount; ++i) {
            if (readings[i].symbol == symbol) return readings[i].value;
        }
        return otherValue;
    }
};

// The tables of the 4.5 layout. The reading side of each uses the 4.5
// attribute-table numbers.
extern const EnumTable kDeviceType;           // type of VirtualDev and DynamicDiskSegment
extern const EnumTable kFileSystemType;       // fileSystem of a segment
extern const EnumTable kCategory;             // category of a physical unit
extern const EnumTable kConnectionType;       // connectionType of a physical unit
extern const EnumTable kPortMode;             // mode of PhysicalAdapter, WWPN, AdapterWWPN
extern const EnumTable kNewUnit;              // isNew: 1, 0, anything else unset (-1)
extern const EnumTable kBoolean;              // every other flag: non-zero is "true"
extern const EnumTable kDataSetRole;          // type of LocalDataSet and RemoteDataSet
extern const EnumTable kOsType;               // osType of a segment or device
extern const EnumTable kClientOs;             // type of SANClient
extern const EnumTable kQualityOfService;     // qos
extern const EnumTable kTimeUnit;             // unit, durationUnit, intervalUnit
extern const EnumTable kSizeUnit;             // zoneSizeUnit
extern const EnumTable kUnlockMethod;         // unlockMethod of WormPolicy
extern const EnumTable kAccessMode;           // access
extern const EnumTable kVirtualAdapterType;   // type of VirtualAdapter
extern const EnumTable kPersonality;          // personality of VirtualDev
extern const EnumTable kTakeoverCondition;    // takeoverCondition
extern const EnumTable kReplicationProtocol;  // protocol
extern const EnumTable kAtomicMode;           // atomic
extern const EnumTable kSnapshotAction;       // snapshotAction
extern const EnumTable kAuthMethod;           // authMethod
extern const EnumTable kInitiatorAccessType;  // accessType
extern const EnumTable kTrapLevel;            // trapLevel of SNMP
extern const EnumTable kDefaultBoot;          // defaultBoot of BootProperties
// Run-time status values: written only, never read from a configuration document.
extern const EnumTable kFailoverState;
extern const EnumTable kReplicationTrigger;
extern const EnumTable kRecoveryAction;
extern const EnumTable kQuiescingState;

}  // namespace model
