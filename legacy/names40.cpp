#include "legacy/names40.h"

#include <cstdio>
#include <memory>
#include <new>

#include "xml/name_table.h"

namespace legacy {

namespace {

struct Name {
    int number;
    const char* name;
};

// The 4.0 attribute list, in number order. Unlike the 4.5 list it has 257=base,
// stops at 388 and 1114, and "Linux" and "BMR" share 1104 (keep: both spellings
// read as one value).
const Name kAttributes40[] = {
    {200, "adapter"}, {201, "channel"}, {202, "id"}, {203, "lun"}, {204, "snapshotGroupID"},
    {205, "startingSector"}, {206, "endingSector"}, {207, "sectorSize"}, {208, "name"},
    {209, "value"}, {210, "type"}, {211, "category"}, {212, "guid"}, {213, "wwid"}, {214, "isNew"},
    {215, "number"}, {216, "channels"}, {217, "info"}, {218, "seq"}, {219, "firstSector"},
    {220, "lastSector"}, {221, "scsiID"}, {222, "nextVDevID"}, {223, "bridge"}, {224, "vdevname"},
    {225, "access"}, {226, "nextClientID"}, {227, "timestamp"}, {228, "checksum"},
    {229, "ipsanPort"}, {230, "serverName"}, {231, "virtualDeviceID"}, {232, "ipAddr"},
    {233, "serverIP"}, {234, "guiExternalName"}, {235, "isComplete"}, {236, "label"},
    {237, "machineName"}, {238, "trapLevel"}, {239, "maxReportsToKeep"}, {240, "maxDaysToKeep"},
    {241, "maxSize"}, {242, "actionWhenSizeExceeded"}, {243, "sampleFrequency"},
    {244, "isForAllVirtualDevices"}, {245, "isForeign"}, {246, "watermark"}, {247, "timeOfDay"},
    {248, "interval"}, {249, "unit"}, {250, "compression"}, {251, "port"},
    {252, "highResolutionSize"}, {253, "lowResolutionSize"}, {254, "takeoverCondition"},
    {255, "serverAlias"}, {256, "writeCacheEnabled"}, {257, "base"}, {258, "instance"},
    {259, "datasetGuid"}, {260, "devName"}, {261, "suspended"}, {262, "atomic"},
    {263, "watermarkRetry"}, {264, "mode"}, {265, "isSANIPEnabled"}, {266, "isFibreChannelEnabled"},
    {267, "isiSCSIEnabled"}, {268, "WWPN"}, {269, "authMode"}, {270, "initiatorWWPN"},
    {271, "targetWWPN"}, {272, "heartbeatTimeout"}, {273, "handshakeTimeout"}, {274, "scsiTimeout"},
    {275, "authenticationGracePeriod"}, {276, "monitorWWPN"}, {277, "secondaryStandbyWWPN"},
    {278, "blockSize"}, {279, "logSizeMB"}, {280, "mountOptions"}, {281, "firstID"},
    {282, "lastID"}, {283, "nextTargetID"}, {284, "nextGroupID"}, {285, "vid"},
    {286, "maxKeyframeCount"}, {287, "autoDelete"}, {288, "automatic"}, {289, "threshold"},
    {290, "inquiry"}, {291, "incrementPercentage"}, {292, "incrementSizeMB"}, {293, "startingTime"},
    {294, "backupEnabled"}, {295, "keyframeEnabled"}, {296, "replicationEnabled"},
    {298, "stopWrite"}, {299, "remoteGroupID"}, {300, "remoteServerName"},
    {301, "remoteServerAlias"}, {302, "nextInitiatorID"}, {303, "duration"}, {304, "durationUnit"},
    {305, "alias"}, {306, "fsid"}, {307, "cacheEnabled"}, {308, "spoofWWPN"},
    {309, "fsidRelianceEnabled"}, {310, "mountPoint"}, {311, "cifsEnabled"}, {312, "nfsEnabled"},
    {313, "autoFSRoot"}, {314, "timeToLive"}, {315, "checkInterval"}, {316, "cifsMountRoot"},
    {317, "fastlaneEnabled"}, {318, "zoneSize"}, {319, "zoneSizeUnit"}, {320, "readWeight"},
    {321, "ioWeight"}, {322, "monitorInterval"}, {323, "intervalUnit"}, {324, "writeThrough"},
    {325, "queueDepth"}, {326, "iscsiurl"}, {327, "startingLun"},
    {328, "snapshotNotificationEnabled"}, {329, "sieveEnabled"}, {330, "windowSize"},
    {331, "transportTimeout"}, {332, "cmdsout"}, {333, "vsaEnabled"}, {334, "accessType"},
    {335, "authMethod"}, {336, "targetPort"}, {337, "moduleName"}, {338, "iSNS"},
    {339, "encryption"}, {340, "timeout"}, {341, "retryInterval"}, {342, "retryCount"},
    {343, "sedPDGuid"}, {344, "alpa"}, {345, "maxAliasCount"}, {346, "suspendMount"},
    {347, "chunkSizeKB"}, {348, "connectionType"}, {349, "isLast"}, {350, "sectors"},
    {351, "prefetchEnabled"}, {352, "maxChains"}, {353, "maxReadahead"}, {354, "readahead"},
    {355, "chainTimeout"}, {356, "isBMREnabled"}, {357, "useStaticIP"}, {358, "macAddress"},
    {359, "defaultBoot"}, {360, "usedSizePercentage"}, {361, "fixedDiskSizeMB"},
    {362, "maxDiskSizeMB"}, {363, "nameserver"}, {364, "netmask"}, {365, "gateway"},
    {366, "ipRangeStart"}, {367, "ipRangeEnd"}, {368, "defaultLabel"}, {369, "isxBootEnabled"},
    {371, "as400Enabled"}, {372, "lunType"}, {373, "formatOptions"}, {374, "quorumDisk"},
    {375, "isDeleted"}, {376, "isMirror"}, {377, "umapTimestamp"}, {378, "auto"},
    {379, "wormEnabled"}, {380, "unlockMethod"}, {382, "quorumDiskMirror"}, {383, "isWorm"},
    {384, "targetName"}, {385, "targetDir"}, {386, "cookie"}, {387, "copies"},
    {388, "generateHash"}, {1000, "null"}, {1001, "direct"}, {1002, "virtual"}, {1004, "Virtual"},
    {1005, "Direct"}, {1006, "System"}, {1007, "Reserved"}, {1008, "false"}, {1009, "true"},
    {1010, "readonly"}, {1011, "write"}, {1012, "writeorread"}, {1013, "write_nonexclusive"},
    {1014, "primary"}, {1015, "mirror"}, {1016, "replica"}, {1017, "secondaryServer"},
    {1018, "selfCheckInterval"}, {1019, "primaryServer"}, {1020, "heartbeatInterval"},
    {1021, "clientConnectionIP"}, {1022, "subnet"}, {1023, "heartbeatIP"}, {1024, "no"},
    {1025, "yes"}, {1026, "autoRecoveryIn"}, {1027, "enabled"}, {1028, "isInFailoverState"},
    {1032, "Any"}, {1033, "All"}, {1036, "NAS"}, {1037, "SAN"}, {1038, "Informational"},
    {1039, "Warning"}, {1040, "Error"}, {1041, "Critical"}, {1042, "None"}, {1043, "SANReplica"},
    {1044, "NASReplica"}, {1045, "Umap"}, {1046, "Scratch"}, {1047, "days"}, {1048, "hours"},
    {1049, "minutes"}, {1050, "seconds"}, {1051, "CopyManager"}, {1052, "always"},
    {1053, "if-possible"}, {1054, "target"}, {1055, "initiator"}, {1056, "minUid"},
    {1057, "maxUid"}, {1058, "minGid"}, {1059, "maxGid"}, {1060, "ConfVol"}, {1061, "standby"},
    {1062, "Keyframe"}, {1063, "SANLookback"}, {1064, "NASLookback"}, {1065, "Service"},
    {1066, "useExisted"}, {1067, "create"}, {1068, "rawDevice"}, {1069, "inactivityTimeout"},
    {1070, "closeSnapshotAfter"}, {1071, "snapshotAction"}, {1072, "windowStart"},
    {1073, "windowEnd"}, {1074, "EXT2"}, {1075, "ReiserFS"}, {1076, "JFS"}, {1077, "XFS"},
    {1078, "EXT3"}, {1079, "UFS"}, {1080, "VXFS"}, {1081, "deviceName"}, {1082, "remoteServer"},
    {1083, "remoteGuid"}, {1084, "fileSystem"}, {1085, "Cache"}, {1086, "Fastlane"}, {1087, "KB"},
    {1088, "MB"}, {1089, "GB"}, {1090, "mobile"}, {1091, "stationary"}, {1092, "public"},
    {1093, "CHAP"}, {1094, "Stripe"}, {1095, "fc"}, {1096, "scsi"}, {1097, "iscsi"},
    {1098, "ipsan"}, {1099, "block"}, {1100, "ram"}, {1101, "stripe"}, {1102, "Local"},
    {1103, "Windows"}, {1104, "Linux"}, {1104, "BMR"}, {1106, "BMRLookback"}, {1107, "BMRReplica"},
    {1108, "weeks"}, {1109, "years"}, {1110, "months"}, {1111, "Quorum"}, {1112, "none"},
    {1113, "unlock"}, {1114, "delete"}, {2000, "status"}, {2007, "startTime"},
    {2014, "snapshotEnabled"}, {4000, "version"}, {4004, "comment"}, {4005, "dataset"},
    {4006, "seqNo"}, {4007, "isLastSegment"}, {4008, "owner"}, {4010, "linkGuid"},
    {4011, "cacheGuid"}, {4012, "snapshotGuid"}, {4013, "fastlaneGuid"}, {4014, "fastlaneSize"},
    {4015, "ssgName"}, {4016, "mac"}, {4017, "clientName"}, {4018, "osType"}, {6002, "user"},
    // The multi-word spellings also stand in full, with the numbers of their first word.
    {1004, "Virtual Device"}, {1005, "Direct Device"}, {1065, "Service Enabled Device"},
    {1094, "Stripe Device"}, {1032, "Any IP Failed"}, {1033, "All IPs Failed"},
};

// The 4.0 element list. "PhysicalResource" and "PhysicalResources" are one element;
// SANConfig and SANBridgeList are deliberately absent (passed over as unknown).
const model::ElementName kElements40[] = {
    {"SCSIAddress", 0}, {"Geometry", 1}, {"InfoItem", 2}, {"PhysicalDev", 3},
    {"PhysicalAdapter", 4}, {"PhysicalResource", 5}, {"PhysicalResources", 5}, {"PDevSection", 6},
    {"VirtualDev", 7}, {"SANResources", 8}, {"VirtualDevConnection", 9}, {"VirtualAdapter", 10},
    {"SANClient", 11}, {"SANClientList", 12}, {"SANBridgeInfo", 13}, {"SANBridge", 14},
    {"InquiryString", 15}, {"Comments", 16}, {"LocalDataSet", 17}, {"RemoteDataSet", 18},
    {"RemoteAccessedDisk", 19}, {"FailoverPrimary", 20}, {"FailoverSecondary", 21},
    {"NimbraPartition", 22}, {"DynamicDiskSegment", 24}, {"IPAliasing", 29}, {"IPAddress", 30},
    {"SCSIAliasing", 31}, {"DeviceAlias", 32}, {"Properties", 33}, {"SNMP", 34}, {"Report", 35},
    {"Log", 36}, {"NASResources", 37}, {"SystemResources", 38}, {"LogicalResources", 39},
    {"UmapSegment", 40}, {"ReplicationPolicy", 41}, {"CopyManagerResources", 42},
    {"ReplicaResources", 43}, {"NICInfo", 47}, {"NICInfoList", 48}, {"NASOption", 49}, {"WWPN", 51},
    {"WWPNList", 52}, {"AdapterWWPN", 53}, {"AdapterWWPNList", 54}, {"FibreChannelOption", 55},
    {"FibreChannelDevice", 56}, {"FibreChannelAdapter", 57}, {"WWPNMap", 58}, {"WWPNPair", 59},
    {"WWPNPairList", 60}, {"FibreChannelProperties", 61}, {"ConfVol", 62}, {"ConfPartition", 63},
    {"EXT2FileSystem", 64}, {"ReiserFileSystem", 65}, {"JFSFileSystem", 66}, {"XFSFileSystem", 67},
    {"EXT3FileSystem", 68}, {"UFSSUNFileSystem", 69}, {"VXFSFileSystem", 70}, {"UIDRangeList", 73},
    {"UIDRange", 74}, {"GIDRangeList", 75}, {"GIDRange", 76}, {"ISCSITarget", 77},
    {"ISCSITargetList", 78}, {"ISCSITargetMember", 79}, {"ISCSIInitiator", 80},
    {"ISCSIInitiatorList", 81}, {"ISCSIVirtualDevice", 82}, {"SnapshotGroupMember", 83},
    {"SnapshotGroup", 84}, {"SnapshotGroupList", 85}, {"KeyframePolicy", 86},
    {"SnapshotPolicy", 87}, {"SnapshotResources", 88}, {"LookbackDataSet", 90},
    {"BackupPolicy", 91}, {"ISCSIOption", 92}, {"ConnectionList", 93}, {"CacheProperty", 94},
    {"CacheResources", 95}, {"AutoMountLookback", 96}, {"FastlanePolicy", 97},
    {"FastlaneResources", 98}, {"CallHomeOption", 99}, {"ISCSIProperties", 100},
    {"ISCSIInitiatorProperties", 101}, {"TargetIDList", 102}, {"TargetID", 103},
    {"ReplicationOption", 104}, {"MirrorOption", 105}, {"Binding", 106}, {"PersistentBinding", 107},
    {"AliasWWPNList", 108}, {"StandbyAliasWWPNList", 109}, {"SANBridgeOption", 110},
    {"BlockDevices", 111}, {"StripeElement", 112}, {"StripeDevice", 113}, {"StripeSet", 114},
    {"PrefetchProperties", 115}, {"BMROption", 116}, {"SelfRegistrationPolicy", 117},
    {"DHCPOptionList", 118}, {"DHCPOption", 119}, {"BMRResources", 120}, {"BootProperties", 121},
    {"BMRProperties", 122}, {"LinuxBoot", 124}, {"LinuxBootList", 125}, {"WindowsBoot", 126},
    {"WindowsBootList", 127}, {"StatisticOption", 128}, {"XBootOption", 129},
};

// Builds a table from `rows`, each row's name mapped to `value(row, index)`.
// Null when the table cannot be created.
template <class Row, std::size_t N>
std::unique_ptr<xml::NameTable> build(std::uint32_t buckets, const Row (&rows)[N],
                                      int (*value)(const Row&, int)) noexcept {
    std::unique_ptr<xml::NameTable> table;
    try {
        table = std::make_unique<xml::NameTable>(buckets);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    for (std::size_t i = 0; i < N; ++i) table->insert(value(rows[i], static_cast<int>(i)), rows[i].name);
    return table;
}

int attributeNumber(const Name& row, int) { return row.number; }
// The element table maps a name to its row, so that a look-up yields the
// spelling it matched in static storage (end tags are matched against it).
int elementRow(const model::ElementName&, int index) { return index; }

}  // namespace

namespace {

// Built on first use; null (after the message) when that fails, retried next
// time. Kept at namespace scope, so that the look-up made for every attribute
// tests one pointer and goes on, without a function-local static's guard.
std::unique_ptr<xml::NameTable> attributeTable;
std::unique_ptr<xml::NameTable> elementTable;

[[gnu::noinline]] const xml::NameTable* buildAttributeTable40() noexcept {
    attributeTable = build(523, kAttributes40, &attributeNumber);
    if (!attributeTable) std::fputs("parser: Can't init symbol lookup\n", stderr);
    return attributeTable.get();
}

[[gnu::noinline]] const xml::NameTable* buildElementTable40() noexcept {
    elementTable = build(293, kElements40, &elementRow);
    if (!elementTable) std::fputs("parser: Can't init struct lookup\n", stderr);
    return elementTable.get();
}

inline const xml::NameTable* attributeTable40() noexcept {
    return attributeTable ? attributeTable.get() : buildAttributeTable40();
}

inline const xml::NameTable* elementTable40() noexcept {
    return elementTable ? elementTable.get() : buildElementTable40();
}

}  // namespace

int lookupAttribute40(const char* name) noexcept {
    if (name == nullptr) return -1;
    const xml::NameTable* table = attributeTable40();
    return table != nullptr ? table->lookup(name) : -1;
}

int lookupAttribute40(const xml::NameKey& key) noexcept {
    const xml::NameTable* table = attributeTable40();
    return table != nullptr ? table->lookup(key) : -1;
}

const model::ElementName* findElement40(const char* name) noexcept {
    if (name == nullptr) return nullptr;
    const xml::NameTable* table = elementTable40();
    const int row = table != nullptr ? table->lookup(name) : -1;
    return row >= 0 ? &kElements40[row] : nullptr;
}

const model::ElementName* findElement40(const xml::NameKey& key) noexcept {
    const xml::NameTable* table = elementTable40();
    const int row = table != nullptr ? table->lookup(key) : -1;
    return row >= 0 ? &kElements40[row] : nullptr;
}

int lookupElement40(const char* name) noexcept {
    const model::ElementName* entry = findElement40(name);
    return entry != nullptr ? entry->number : -1;
}

}  // namespace legacy
