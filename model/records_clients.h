#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/records_logical.h"
#include "writer/sink.h"
#include "model/records_physical.h"

// Records of the clients, the failover pairing, the bridge's options and the
// bridge itself.

namespace model {

struct WWPNPair {
    Text initiatorWWPN, targetWWPN;
};

struct WWPNPairList {
    std::vector<WWPNPair> items;
};

struct FibreChannelProperties {
    Flag authMode = 0;
    std::int32_t heartbeatInterval = 0, heartbeatTimeout = 0, handshakeTimeout = 0, scsiTimeout = 0,
                 authenticationGracePeriod = 0;
    Flag vsaEnabled = 0, as400Enabled = 0;
    std::int32_t qos = 0;  // kQualityOfService
    WWPNPairList wwpnPairList;
};

struct VirtualDevConnection {
    Text bridge;
    std::int32_t id = 0;
    Text vdevname;
    std::int32_t access = 0;  // kAccessMode
    std::int32_t channel = 0, scsiID = 0, lun = 0;
};

struct VirtualAdapter {
    Text bridge;
    std::int32_t number = 0, channels = 0, scsiID = 0;
    std::int32_t type = 0;  // kVirtualAdapterType
    std::vector<VirtualDevConnection> connections;
};

struct FibreChannelDevice {
    std::int32_t id = 0;
    Text vdevname;
    std::int32_t access = 0;  // kAccessMode
    std::int32_t lun = 0;
    WWPNPair wwpnPair;
};

struct FibreChannelAdapter {
    std::vector<FibreChannelDevice> items;
};

struct ISCSIInitiator {
    Text name;
};

struct ISCSIInitiatorProperties {
    std::int32_t accessType = 0;  // kInitiatorAccessType
    Text user;
    std::int32_t authMethod = 0;  // kAuthMethod
    std::vector<ISCSIInitiator> items;
};

struct ISCSIProperties {
    std::int32_t qos = 0;  // kQualityOfService
    ISCSIInitiatorProperties iscsiInitiatorProperties;
};

struct TargetID {
    std::int32_t id = 0;
};

struct TargetIDList {
    std::vector<TargetID> items;
};

struct SANClient {
    Text name, username;
    std::int32_t id = 0;
    std::int32_t type = 0;  // kClientOs
    Text serverIP;
    Flag isSANIPEnabled = 0, isFibreChannelEnabled = 0, isiSCSIEnabled = 0, isBMREnabled = 0,
         isxBootEnabled = 0, persistentReservation = 0;
    FibreChannelProperties fibreChannelProperties;
    std::optional<BootProperties> bootProperties;
    std::vector<VirtualAdapter> virtualAdapters;
    std::vector<FibreChannelAdapter> fibreChannelAdapters;
    std::optional<ISCSIProperties> iscsiProperties;
    std::optional<TargetIDList> targetIDList;
};

struct SANClientList {
    std::int32_t nextClientID = 0;
    std::vector<SANClient> items;
};

struct SANBridgeInfo {
    std::vector<InfoItem> items;
};

struct NICInfo {
    Text clientConnectionIP, subnet, heartbeatIP;
};

struct NICInfoList {
    std::vector<NICInfo> items;
};

struct FailoverPrimary {
    Text secondaryServer, guiExternalName, quorumDisk, quorumDiskMirror, configurationMode;
    std::int32_t selfCheckInterval = 0;
    Flag isComplete = 0, enabled = 0;
    NICInfoList nicInfoList;
};

struct FailoverSecondary {
    Text primaryServer, guiExternalName, powerControl, deviceType, deviceName, virtualIP, quorumDisk,
        quorumDiskMirror, configurationMode;
    std::int32_t heartbeatInterval = 0, autoRecoveryIn = 0;
    Flag enabled = 0, isInFailoverState = 0;
    std::int32_t takeoverCondition = 0;  // kTakeoverCondition
    NICInfoList nicInfoList;
};

struct IPAliasing {
    std::vector<std::string> addresses;  // IPAddress text contents
};

struct ConfVol {
    Text guid;
};

struct SNMP {
    std::int32_t trapLevel = 0;  // kTrapLevel
};

struct Report {
    std::int32_t maxReportsToKeep = 0, maxDaysToKeep = 0;
};

struct Log {
    std::int32_t maxSize = 0, maxDaysToKeep = 0, actionWhenSizeExceeded = 0, sampleFrequency = 0;
};

/// UIDRange and GIDRange.
struct IDRange {
    std::int32_t firstID = 0, lastID = 0;
};

/// UIDRangeList and GIDRangeList.
struct IDRangeList {
    std::vector<IDRange> items;
};

struct NASOption {
    Flag value = 0, primary = 0;
    IDRangeList uidRangeList, gidRangeList;
};

struct AdapterWWPN {
    std::int32_t number = 0;
    Text WWPN;
    std::int32_t mode = 0;  // kPortMode
    Text monitorWWPN, secondaryStandbyWWPN;
};

struct AdapterWWPNList {
    std::vector<AdapterWWPN> items;
};

struct FibreChannelOption {
    Flag enabled = 0;
    AdapterWWPNList adapterWWPNList;
};

struct AutoSaveConfigOption {
    Flag enabled = 0;
    Text cookie, targetName, targetDir;
    std::int32_t interval = 0, copies = 0;
    std::int32_t port = 0;  // 0 is written as 21
};

struct ISCSIOption {
    Flag enabled = 0;
    std::int32_t port = 0;
    Text iSNS;
};

/// CallHomeOption, XBootOption and SANBridgeOption.
struct EnabledOption {
    Flag enabled = 0;
};

struct ReplicationOption {
    Flag sieveEnabled = 0;
    std::int32_t windowSize = 0, timeout = 0, throttle = 0;
    std::int32_t protocol = 0;  // kReplicationProtocol
};

struct MirrorOption {
    std::int32_t cmdsout = 0, blockSize = 0;
};

struct QlogicOption {
    std::int32_t queueDepth = 0;
};

struct BMROption {
    Flag enabled = 0;
    SelfRegistrationPolicy selfRegistrationPolicy;
};

struct StatisticOption {
    Flag enabled = 0;
    std::int32_t interval = 0;
};

struct DHCPOption {
    Text nameserver, netmask, gateway, ipRangeStart, ipRangeEnd;
};

struct DHCPOptionList {
    Flag enabled = 0;
    std::vector<DHCPOption> items;
};

struct Properties {
    Flag gbport = 0, qos = 0;
    Text inquiry;
    ConfVol confVol;
    IPAliasing ipAliasing;
    SNMP snmp;
    Report report;
    Log log;
    NASOption nasOption;
    FibreChannelOption fibreChannelOption;
    AutoSaveConfigOption autoSaveConfigOption;
    ISCSIOption iscsiOption;
    EnabledOption callHomeOption;
    ReplicationOption replicationOption;
    MirrorOption mirrorOption;
    QlogicOption qlogicOption;
    EnabledOption xBootOption;
    BMROption bmrOption;
    EnabledOption sanBridgeOption;
    StatisticOption statisticOption;
    DHCPOptionList dhcpOptionList;
};

struct SANBridge;
using SerializedText = writer::ConfigText;
/// Serialises a bridge into `out`; 0 or a 0x9001xxxx status (0x9001000D when
/// either argument is missing). The bridge is lent: a serialiser may take
/// parts of it while it runs, and has given them back when it returns.
using BridgeSerializer = std::uint32_t (*)(SANBridge* bridge, SerializedText* out);

/// The 4.5 root: one server.
struct SANBridge {
    Text name, ipAddr;
    std::int32_t ipsanPort = 0;
    Text timestamp;  // kept and written as text
    std::int32_t instance = 0;
    Text checksum;  // read, never written
    Properties properties;
    SANBridgeInfo sanBridgeInfo;
    std::optional<FailoverPrimary> failoverPrimary;
    std::optional<FailoverSecondary> failoverSecondary;
    PhysicalResources physicalResources;
    LogicalResources logicalResources;
    SANClientList sanClientList;
    // Set by the conversion, never read or written by the document code.
    BridgeSerializer serializer = nullptr;
    std::uint32_t options = 0;
};

}  // namespace model
