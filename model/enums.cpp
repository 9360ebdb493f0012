#include "model/enums.h"

#include <iterator>

#include "model/attr_names.h"

namespace model {

namespace {

constexpr int sym(AttrId id) { return static_cast<int>(id); }

// Deliberate: "SAN" and the file-system spellings read as 1, and "Linux" shares
// the symbol of "BMR", so it reads as 14.
constexpr Spelling kDeviceTypeSpellings[] = {{2, "NAS"}, {3, "Scratch"}, {4, "Umap"}, {5, "SANReplica"}, {6, "NASReplica"}, {7, "CopyManager"}, {8, "ConfVol"}, {9, "Keyframe"}, {10, "SANLookback"}, {11, "NASLookback"}, {12, "Cache"}, {13, "Fastlane"}, {14, "BMR"}, {15, "BMRLookback"}, {16, "BMRReplica"}, {30, "Quorum"}, {31, "Adaptive"}, {100, "EXT2"}, {101, "ReiserFS"}, {102, "JFS"}, {103, "XFS"}, {104, "EXT3"}, {105, "UFS"}, {106, "VXFS"}};
constexpr Reading kDeviceTypeReadings[] = {{sym(AttrId::NAS), 2}, {sym(AttrId::Scratch), 3}, {sym(AttrId::Umap), 4}, {sym(AttrId::SANReplica), 5}, {sym(AttrId::NASReplica), 6}, {sym(AttrId::CopyManager), 7}, {sym(AttrId::ConfVol), 8}, {sym(AttrId::Keyframe), 9}, {sym(AttrId::SANLookback), 10}, {sym(AttrId::NASLookback), 11}, {sym(AttrId::Cache), 12}, {sym(AttrId::Fastlane), 13}, {sym(AttrId::BMR), 14}, {sym(AttrId::BMRLookback), 15}, {sym(AttrId::BMRReplica), 16}, {sym(AttrId::Quorum), 30}, {sym(AttrId::Adaptive), 31}};

constexpr Spelling kFileSystemTypeSpellings[] = {{101, "ReiserFS"}, {102, "JFS"}, {103, "XFS"}, {104, "EXT3"}, {105, "UFS"}, {106, "VXFS"}};
constexpr Reading kFileSystemTypeReadings[] = {{sym(AttrId::ReiserFS), 101}, {sym(AttrId::JFS), 102}, {sym(AttrId::XFS), 103}, {sym(AttrId::EXT3), 104}, {sym(AttrId::UFS), 105}, {sym(AttrId::VXFS), 106}};

constexpr Spelling kCategorySpellings[] = {{1, "Virtual Device"}, {2, "Direct Device"}, {3, "System"}, {4, "Reserved"}, {5, "Service Enabled Device"}, {6, "Stripe Device"}};
constexpr Reading kCategoryReadings[] = {{sym(AttrId::VirtualDevice_), 1}, {sym(AttrId::DirectDevice_), 2}, {sym(AttrId::System), 3}, {sym(AttrId::Reserved), 4}, {sym(AttrId::ServiceEnabledDevice_), 5}, {sym(AttrId::StripeDevice_), 6}};

constexpr Spelling kConnectionTypeSpellings[] = {{1, "fc"}, {2, "scsi"}, {3, "iscsi"}, {4, "ipsan"}, {5, "block"}, {6, "ram"}, {7, "stripe"}};
constexpr Reading kConnectionTypeReadings[] = {{sym(AttrId::fc), 1}, {sym(AttrId::scsi), 2}, {sym(AttrId::iscsi), 3}, {sym(AttrId::ipsan), 4}, {sym(AttrId::block), 5}, {sym(AttrId::ram), 6}, {sym(AttrId::stripe), 7}};

constexpr Spelling kPortModeSpellings[] = {{1, "initiator"}, {2, "target"}, {3, "standby"}};
constexpr Reading kPortModeReadings[] = {{sym(AttrId::initiator), 1}, {sym(AttrId::target), 2}, {sym(AttrId::standby), 3}};

constexpr Spelling kNewUnitSpellings[] = {{0, "false"}, {1, "true"}};
constexpr Reading kNewUnitReadings[] = {{sym(AttrId::false_), 0}, {sym(AttrId::true_), 1}};

constexpr Spelling kBooleanSpellings[] = {{0, "false"}};
constexpr Reading kBooleanReadings[] = {{sym(AttrId::true_), 1}};

constexpr Spelling kDataSetRoleSpellings[] = {{1, "primary"}, {2, "mirror"}, {3, "replica"}};
constexpr Reading kDataSetRoleReadings[] = {{sym(AttrId::primary), 1}, {sym(AttrId::mirror), 2}, {sym(AttrId::replica), 3}};

// "BMR" shares the symbol of "Linux" and reads as 2.
constexpr Spelling kOsTypeSpellings[] = {{1, "Windows"}, {2, "Linux"}};
constexpr Reading kOsTypeReadings[] = {{sym(AttrId::Windows), 1}, {sym(AttrId::Linux), 2}};

// Deliberate: "Windows" reads as 3 and "Undefined" as 0.
constexpr Spelling kClientOsSpellings[] = {{1, "Winnt4"}, {2, "Win2000"}, {3, "Win2003"}, {4, "Linux"}, {5, "Solaris"}, {6, "HPUX"}, {7, "AIX"}, {8, "OpenVMS"}, {9, "Tru64"}, {10, "Netware"}, {255, "Generic"}};
constexpr Reading kClientOsReadings[] = {{sym(AttrId::Winnt4), 1}, {sym(AttrId::Win2000), 2}, {sym(AttrId::Win2003), 3}, {sym(AttrId::Windows), 3}, {sym(AttrId::Linux), 4}, {sym(AttrId::Solaris), 5}, {sym(AttrId::HPUX), 6}, {sym(AttrId::AIX), 7}, {sym(AttrId::OpenVMS), 8}, {sym(AttrId::Tru64), 9}, {sym(AttrId::Netware), 10}, {sym(AttrId::Generic), 255}};

constexpr Spelling kQualityOfServiceSpellings[] = {{1, "high"}, {3, "low"}};
constexpr Reading kQualityOfServiceReadings[] = {{sym(AttrId::high), 1}, {sym(AttrId::medium), 2}, {sym(AttrId::low), 3}};

// The values do not follow the length of the unit; stored documents rely on them.
constexpr Spelling kTimeUnitSpellings[] = {{0, "minutes"}, {1, "hours"}, {2, "days"}, {3, "seconds"}, {5, "weeks"}, {6, "months"}};
constexpr Reading kTimeUnitReadings[] = {{sym(AttrId::minutes), 0}, {sym(AttrId::hours), 1}, {sym(AttrId::days), 2}, {sym(AttrId::seconds), 3}, {sym(AttrId::years), 4}, {sym(AttrId::weeks), 5}, {sym(AttrId::months), 6}};

constexpr Spelling kSizeUnitSpellings[] = {{1, "MB"}, {2, "GB"}};
constexpr Reading kSizeUnitReadings[] = {{sym(AttrId::KB), 0}, {sym(AttrId::MB), 1}, {sym(AttrId::GB), 2}};

constexpr Spelling kUnlockMethodSpellings[] = {{1, "unlock"}, {2, "delete"}};
constexpr Reading kUnlockMethodReadings[] = {{sym(AttrId::unlock), 1}, {sym(AttrId::delete_), 2}};

constexpr Spelling kAccessModeSpellings[] = {{1, "readonly"}, {2, "write"}, {3, "writeorread"}, {4, "write_nonexclusive"}};
constexpr Reading kAccessModeReadings[] = {{sym(AttrId::readonly), 1}, {sym(AttrId::write), 2}, {sym(AttrId::writeorread), 3}, {sym(AttrId::write_nonexclusive), 4}};

constexpr Spelling kVirtualAdapterTypeSpellings[] = {{1, "direct"}, {2, "virtual"}};
constexpr Reading kVirtualAdapterTypeReadings[] = {{sym(AttrId::direct), 1}, {sym(AttrId::virtual_), 2}};

constexpr Spelling kPersonalitySpellings[] = {{1, "rdac"}};
constexpr Reading kPersonalityReadings[] = {{sym(AttrId::rdac), 1}};

constexpr Spelling kTakeoverConditionSpellings[] = {{1, "All IPs Failed"}};
constexpr Reading kTakeoverConditionReadings[] = {{sym(AttrId::AllIPsFailed_), 1}};

constexpr Spelling kReplicationProtocolSpellings[] = {{1, "tcp"}};
constexpr Reading kReplicationProtocolReadings[] = {{sym(AttrId::rudp), 0}, {sym(AttrId::tcp), 1}};

constexpr Spelling kAtomicModeSpellings[] = {{1, "if-possible"}};
constexpr Reading kAtomicModeReadings[] = {{sym(AttrId::if_possible), 1}};

constexpr Spelling kSnapshotActionSpellings[] = {{1, "useExisted"}};
constexpr Reading kSnapshotActionReadings[] = {{sym(AttrId::useExisted), 1}};

constexpr Spelling kAuthMethodSpellings[] = {{1, "CHAP"}};
constexpr Reading kAuthMethodReadings[] = {{sym(AttrId::CHAP), 1}};

constexpr Spelling kInitiatorAccessTypeSpellings[] = {{1, "mobile"}, {2, "stationary"}, {3, "public"}, {4, "machine"}};
constexpr Reading kInitiatorAccessTypeReadings[] = {{sym(AttrId::mobile), 1}, {sym(AttrId::stationary), 2}, {sym(AttrId::public_), 3}, {sym(AttrId::machine), 4}};

constexpr Spelling kTrapLevelSpellings[] = {{1, "Critical"}, {2, "Error"}, {3, "Warning"}, {4, "Informational"}};
constexpr Reading kTrapLevelReadings[] = {{sym(AttrId::Critical), 1}, {sym(AttrId::Error), 2}, {sym(AttrId::Warning), 3}, {sym(AttrId::Informational), 4}};

constexpr Spelling kDefaultBootSpellings[] = {{1, "Windows"}, {2, "Linux"}};
constexpr Reading kDefaultBootReadings[] = {{sym(AttrId::Windows), 1}, {sym(AttrId::Linux), 2}};

constexpr Spelling kFailoverStateSpellings[] = {{1, "takeover"}, {2, "takenover"}, {3, "swap"}};

constexpr Spelling kReplicationTriggerSpellings[] = {{1, "watermark"}, {2, "interval"}, {3, "timeOfDay"}, {4, "console"}};

constexpr Spelling kRecoveryActionSpellings[] = {{1, "copy"}, {2, "rollback"}};

constexpr Spelling kQuiescingStateSpellings[] = {{1, "quietClient"}, {2, "createKeyframe"}, {3, "wakeupClient"}};

}  // namespace

const EnumTable kDeviceType{kDeviceTypeSpellings, static_cast<int>(std::size(kDeviceTypeSpellings)), "SAN", kDeviceTypeReadings, static_cast<int>(std::size(kDeviceTypeReadings)), 1};
const EnumTable kFileSystemType{kFileSystemTypeSpellings, static_cast<int>(std::size(kFileSystemTypeSpellings)), "EXT2", kFileSystemTypeReadings, static_cast<int>(std::size(kFileSystemTypeReadings)), 100};
const EnumTable kCategory{kCategorySpellings, static_cast<int>(std::size(kCategorySpellings)), "n/a", kCategoryReadings, static_cast<int>(std::size(kCategoryReadings)), 0};
const EnumTable kConnectionType{kConnectionTypeSpellings, static_cast<int>(std::size(kConnectionTypeSpellings)), "", kConnectionTypeReadings, static_cast<int>(std::size(kConnectionTypeReadings)), 0};
const EnumTable kPortMode{kPortModeSpellings, static_cast<int>(std::size(kPortModeSpellings)), "", kPortModeReadings, static_cast<int>(std::size(kPortModeReadings)), 0};
const EnumTable kNewUnit{kNewUnitSpellings, static_cast<int>(std::size(kNewUnitSpellings)), "n/a", kNewUnitReadings, static_cast<int>(std::size(kNewUnitReadings)), -1};
const EnumTable kBoolean{kBooleanSpellings, static_cast<int>(std::size(kBooleanSpellings)), "true", kBooleanReadings, static_cast<int>(std::size(kBooleanReadings)), 0};
const EnumTable kDataSetRole{kDataSetRoleSpellings, static_cast<int>(std::size(kDataSetRoleSpellings)), "n/a", kDataSetRoleReadings, static_cast<int>(std::size(kDataSetRoleReadings)), 0};
const EnumTable kOsType{kOsTypeSpellings, static_cast<int>(std::size(kOsTypeSpellings)), "", kOsTypeReadings, static_cast<int>(std::size(kOsTypeReadings)), 0};
const EnumTable kClientOs{kClientOsSpellings, static_cast<int>(std::size(kClientOsSpellings)), "Undefined", kClientOsReadings, static_cast<int>(std::size(kClientOsReadings)), 0};
const EnumTable kQualityOfService{kQualityOfServiceSpellings, static_cast<int>(std::size(kQualityOfServiceSpellings)), "medium", kQualityOfServiceReadings, static_cast<int>(std::size(kQualityOfServiceReadings)), 2};
const EnumTable kTimeUnit{kTimeUnitSpellings, static_cast<int>(std::size(kTimeUnitSpellings)), "years", kTimeUnitReadings, static_cast<int>(std::size(kTimeUnitReadings)), 4};
const EnumTable kSizeUnit{kSizeUnitSpellings, static_cast<int>(std::size(kSizeUnitSpellings)), "KB", kSizeUnitReadings, static_cast<int>(std::size(kSizeUnitReadings)), 0};
const EnumTable kUnlockMethod{kUnlockMethodSpellings, static_cast<int>(std::size(kUnlockMethodSpellings)), "none", kUnlockMethodReadings, static_cast<int>(std::size(kUnlockMethodReadings)), 0};
const EnumTable kAccessMode{kAccessModeSpellings, static_cast<int>(std::size(kAccessModeSpellings)), "n/a", kAccessModeReadings, static_cast<int>(std::size(kAccessModeReadings)), 0};
const EnumTable kVirtualAdapterType{kVirtualAdapterTypeSpellings, static_cast<int>(std::size(kVirtualAdapterTypeSpellings)), "n/a", kVirtualAdapterTypeReadings, static_cast<int>(std::size(kVirtualAdapterTypeReadings)), 0};
const EnumTable kPersonality{kPersonalitySpellings, static_cast<int>(std::size(kPersonalitySpellings)), "none", kPersonalityReadings, static_cast<int>(std::size(kPersonalityReadings)), 0};
const EnumTable kTakeoverCondition{kTakeoverConditionSpellings, static_cast<int>(std::size(kTakeoverConditionSpellings)), "Any IP Failed", kTakeoverConditionReadings, static_cast<int>(std::size(kTakeoverConditionReadings)), 0};
const EnumTable kReplicationProtocol{kReplicationProtocolSpellings, static_cast<int>(std::size(kReplicationProtocolSpellings)), "rudp", kReplicationProtocolReadings, static_cast<int>(std::size(kReplicationProtocolReadings)), 0};
const EnumTable kAtomicMode{kAtomicModeSpellings, static_cast<int>(std::size(kAtomicModeSpellings)), "always", kAtomicModeReadings, static_cast<int>(std::size(kAtomicModeReadings)), 0};
const EnumTable kSnapshotAction{kSnapshotActionSpellings, static_cast<int>(std::size(kSnapshotActionSpellings)), "create", kSnapshotActionReadings, static_cast<int>(std::size(kSnapshotActionReadings)), 0};
const EnumTable kAuthMethod{kAuthMethodSpellings, static_cast<int>(std::size(kAuthMethodSpellings)), "None", kAuthMethodReadings, static_cast<int>(std::size(kAuthMethodReadings)), 0};
const EnumTable kInitiatorAccessType{kInitiatorAccessTypeSpellings, static_cast<int>(std::size(kInitiatorAccessTypeSpellings)), "", kInitiatorAccessTypeReadings, static_cast<int>(std::size(kInitiatorAccessTypeReadings)), 0};
const EnumTable kTrapLevel{kTrapLevelSpellings, static_cast<int>(std::size(kTrapLevelSpellings)), "None", kTrapLevelReadings, static_cast<int>(std::size(kTrapLevelReadings)), 0};
const EnumTable kDefaultBoot{kDefaultBootSpellings, static_cast<int>(std::size(kDefaultBootSpellings)), "Local", kDefaultBootReadings, static_cast<int>(std::size(kDefaultBootReadings)), 0};
const EnumTable kFailoverState{kFailoverStateSpellings, static_cast<int>(std::size(kFailoverStateSpellings)), "normal", nullptr, 0, 0};
const EnumTable kReplicationTrigger{kReplicationTriggerSpellings, static_cast<int>(std::size(kReplicationTriggerSpellings)), "n/a", nullptr, 0, 0};
const EnumTable kRecoveryAction{kRecoveryActionSpellings, static_cast<int>(std::size(kRecoveryActionSpellings)), "n/a", nullptr, 0, 0};
const EnumTable kQuiescingState{kQuiescingStateSpellings, static_cast<int>(std::size(kQuiescingStateSpellings)), "idle", nullptr, 0, 0};

}  // namespace model
