#include "model/layout45.h"

// The 4.5 layout of the clients, the failover pairing, the bridge's options
// and the bridge itself.

namespace model {

using A = AttrId;
using E = ElementId;
using W = WriteIf;

const Layout<WWPNPair> kWWPNPair45{
    E::WWPNPair, "WWPNPair", "parseWWPNPair", Form::AlwaysShort,
    {
        attr::text<&WWPNPair::initiatorWWPN>(A::initiatorWWPN),
        attr::text<&WWPNPair::targetWWPN>(A::targetWWPN),
    }};

const Layout<WWPNPairList> kWWPNPairList45{
    E::WWPNPairList, "WWPNPairList", "parseWWPNPairList", Form::ShortWhenEmpty, {},
    {child::repeated<&WWPNPairList::items>(kWWPNPair45)}};

const Layout<FibreChannelProperties> kFibreChannelProperties45{
    E::FibreChannelProperties, "FibreChannelProperties", "parseFibreChannelProperties", Form::AlwaysLong,
    {
        attr::boolean<&FibreChannelProperties::authMode>(A::authMode),
        attr::i32<&FibreChannelProperties::heartbeatInterval>(A::heartbeatInterval),
        attr::i32<&FibreChannelProperties::heartbeatTimeout>(A::heartbeatTimeout),
        attr::i32<&FibreChannelProperties::handshakeTimeout>(A::handshakeTimeout),
        attr::i32<&FibreChannelProperties::scsiTimeout>(A::scsiTimeout),
        attr::i32<&FibreChannelProperties::authenticationGracePeriod>(A::authenticationGracePeriod),
        attr::boolean<&FibreChannelProperties::vsaEnabled>(A::vsaEnabled),
        attr::boolean<&FibreChannelProperties::as400Enabled>(A::as400Enabled),
        attr::spelled<&FibreChannelProperties::qos>(A::qos, kQualityOfService),
    },
    {child::single<&FibreChannelProperties::wwpnPairList>(kWWPNPairList45)}};

const Layout<VirtualDevConnection> kVirtualDevConnection45{
    E::VirtualDevConnection, "VirtualDevConnection", "parseVirtualDevConnection", Form::AlwaysShort,
    {
        attr::text<&VirtualDevConnection::bridge>(A::bridge),
        attr::i32<&VirtualDevConnection::id>(A::id),
        attr::text<&VirtualDevConnection::vdevname>(A::vdevname),
        attr::spelled<&VirtualDevConnection::access>(A::access, kAccessMode),
        attr::i32<&VirtualDevConnection::channel>(A::channel),
        attr::i32<&VirtualDevConnection::scsiID>(A::scsiID),
        attr::i32<&VirtualDevConnection::lun>(A::lun),
    }};

const Layout<VirtualAdapter> kVirtualAdapter45{
    E::VirtualAdapter, "VirtualAdapter", "parseVirtualAdapter", Form::ShortWhenEmpty,
    {
        attr::text<&VirtualAdapter::bridge>(A::bridge),
        attr::i32<&VirtualAdapter::number>(A::number),
        attr::i32<&VirtualAdapter::channels>(A::channels),
        attr::i32<&VirtualAdapter::scsiID>(A::scsiID),
        attr::spelled<&VirtualAdapter::type>(A::type, kVirtualAdapterType),
    },
    {child::repeated<&VirtualAdapter::connections>(kVirtualDevConnection45)}};

const Layout<FibreChannelDevice> kFibreChannelDevice45{
    E::FibreChannelDevice, "FibreChannelDevice", "parseFibreChannelDevice", Form::AlwaysLong,
    {
        attr::i32<&FibreChannelDevice::id>(A::id),
        attr::text<&FibreChannelDevice::vdevname>(A::vdevname),
        attr::spelled<&FibreChannelDevice::access>(A::access, kAccessMode),
        attr::i32<&FibreChannelDevice::lun>(A::lun),
    },
    {child::single<&FibreChannelDevice::wwpnPair>(kWWPNPair45)}};

const Layout<FibreChannelAdapter> kFibreChannelAdapter45{
    E::FibreChannelAdapter, "FibreChannelAdapter", "parseFibreChannelAdapter", Form::ShortWhenEmpty, {},
    {child::repeated<&FibreChannelAdapter::items>(kFibreChannelDevice45)}};

const Layout<ISCSIInitiator> kISCSIInitiator45{
    E::ISCSIInitiator, "ISCSIInitiator", "parseISCSIInitiator", Form::AlwaysShort,
    {attr::text<&ISCSIInitiator::name>(A::name)}};

const Layout<ISCSIInitiatorProperties> kISCSIInitiatorProperties45{
    E::ISCSIInitiatorProperties, "ISCSIInitiatorProperties", "parseISCSIInitiatorProperties",
    Form::ShortWhenEmpty,
    {
        attr::spelled<&ISCSIInitiatorProperties::accessType>(A::accessType, kInitiatorAccessType),
        attr::text<&ISCSIInitiatorProperties::user>(A::user),
        attr::spelled<&ISCSIInitiatorProperties::authMethod>(A::authMethod, kAuthMethod),
    },
    {child::repeated<&ISCSIInitiatorProperties::items>(kISCSIInitiator45)}};

const Layout<ISCSIProperties> kISCSIProperties45{
    E::ISCSIProperties, "ISCSIProperties", "parseISCSIProperties", Form::AlwaysLong,
    {attr::spelled<&ISCSIProperties::qos>(A::qos, kQualityOfService)},
    {child::single<&ISCSIProperties::iscsiInitiatorProperties>(kISCSIInitiatorProperties45)}};

const Layout<TargetID> kTargetID45{
    E::TargetID, "TargetID", "parseTargetID", Form::AlwaysShort, {attr::i32<&TargetID::id>(A::id)}};

const Layout<TargetIDList> kTargetIDList45{
    E::TargetIDList, "TargetIDList", "parseTargetIDList", Form::ShortWhenEmpty, {},
    {child::repeated<&TargetIDList::items>(kTargetID45)}};

const Layout<SANClient> kSANClient45{
    E::SANClient, "SANClient", "parseSANClient", Form::AlwaysLong,
    {
        attr::text<&SANClient::name>(A::name),
        attr::text<&SANClient::username>(A::username),
        attr::i32<&SANClient::id>(A::id),
        attr::spelled<&SANClient::type>(A::type, kClientOs),
        attr::text<&SANClient::serverIP>(A::serverIP),
        attr::boolean<&SANClient::isSANIPEnabled>(A::isSANIPEnabled),
        attr::boolean<&SANClient::isFibreChannelEnabled>(A::isFibreChannelEnabled),
        attr::boolean<&SANClient::isiSCSIEnabled>(A::isiSCSIEnabled),
        attr::boolean<&SANClient::isBMREnabled>(A::isBMREnabled),
        attr::boolean<&SANClient::isxBootEnabled>(A::isxBootEnabled),
        attr::boolean<&SANClient::persistentReservation>(A::persistentReservation),
    },
    {
        child::single<&SANClient::fibreChannelProperties>(kFibreChannelProperties45),
        child::optional<&SANClient::bootProperties>(kBootProperties45),
        child::repeated<&SANClient::virtualAdapters>(kVirtualAdapter45),
        child::repeated<&SANClient::fibreChannelAdapters>(kFibreChannelAdapter45),
        child::optional<&SANClient::iscsiProperties>(kISCSIProperties45),
        child::optional<&SANClient::targetIDList>(kTargetIDList45),
    }};

const Layout<SANClientList> kSANClientList45{
    E::SANClientList, "SANClientList", "parseSANClientList", Form::ShortWhenEmpty,
    {attr::i32<&SANClientList::nextClientID>(A::nextClientID)},
    {child::repeated<&SANClientList::items>(kSANClient45)}};

const Layout<SANBridgeInfo> kSANBridgeInfo45{
    E::SANBridgeInfo, "SANBridgeInfo", "parseSANBridgeInfo", Form::ShortWhenEmpty, {},
    {child::repeated<&SANBridgeInfo::items>(kInfoItem45)}};

const Layout<NICInfo> kNICInfo45{
    E::NICInfo, "NICInfo", "parseNICInfo", Form::AlwaysShort,
    {
        attr::text<&NICInfo::clientConnectionIP>(A::clientConnectionIP),
        attr::text<&NICInfo::subnet>(A::subnet),
        attr::text<&NICInfo::heartbeatIP>(A::heartbeatIP),
    }};

const Layout<NICInfoList> kNICInfoList45{
    E::NICInfoList, "NICInfoList", "parseNICInfoList", Form::ShortWhenEmpty, {},
    {child::repeated<&NICInfoList::items>(kNICInfo45)}};

const Layout<FailoverPrimary> kFailoverPrimary45{
    E::FailoverPrimary, "FailoverPrimary", "parseFailoverPrimary", Form::AlwaysLong,
    {
        attr::text<&FailoverPrimary::secondaryServer>(A::secondaryServer),
        attr::text<&FailoverPrimary::guiExternalName>(A::guiExternalName),
        attr::text<&FailoverPrimary::quorumDisk>(A::quorumDisk),
        attr::text<&FailoverPrimary::quorumDiskMirror>(A::quorumDiskMirror),
        attr::text<&FailoverPrimary::configurationMode>(A::configurationMode),
        attr::i32<&FailoverPrimary::selfCheckInterval>(A::selfCheckInterval),
        attr::boolean<&FailoverPrimary::isComplete>(A::isComplete),
        attr::boolean<&FailoverPrimary::enabled>(A::enabled),
    },
    {child::single<&FailoverPrimary::nicInfoList>(kNICInfoList45)}};

const Layout<FailoverSecondary> kFailoverSecondary45{
    E::FailoverSecondary, "FailoverSecondary", "parseFailoverSecondary", Form::AlwaysLong,
    {
        attr::text<&FailoverSecondary::primaryServer>(A::primaryServer),
        attr::text<&FailoverSecondary::guiExternalName>(A::guiExternalName),
        attr::text<&FailoverSecondary::powerControl>(A::powerControl),
        attr::text<&FailoverSecondary::deviceType>(A::deviceType),
        attr::text<&FailoverSecondary::deviceName>(A::deviceName),
        attr::text<&FailoverSecondary::virtualIP>(A::virtualIP),
        attr::text<&FailoverSecondary::quorumDisk>(A::quorumDisk),
        attr::text<&FailoverSecondary::quorumDiskMirror>(A::quorumDiskMirror),
        attr::text<&FailoverSecondary::configurationMode>(A::configurationMode),
        attr::i32<&FailoverSecondary::heartbeatInterval>(A::heartbeatInterval),
        attr::i32<&FailoverSecondary::autoRecoveryIn>(A::autoRecoveryIn),
        attr::boolean<&FailoverSecondary::enabled>(A::enabled),
        attr::boolean<&FailoverSecondary::isInFailoverState>(A::isInFailoverState),
        attr::spelled<&FailoverSecondary::takeoverCondition>(A::takeoverCondition, kTakeoverCondition),
    },
    {child::single<&FailoverSecondary::nicInfoList>(kNICInfoList45)}};

const Layout<std::string> kIPAddress45{E::IPAddress, "IPAddress", "parseIPAddress", Form::TextContent, {}};

const Layout<IPAliasing> kIPAliasing45{
    E::IPAliasing, "IPAliasing", "parseIPAliasing", Form::ShortWhenEmpty, {},
    {child::repeated<&IPAliasing::addresses>(kIPAddress45)}};

const Layout<ConfVol> kConfVol45{
    E::ConfVol, "ConfVol", "parseConfVol", Form::AlwaysShort, {attr::text<&ConfVol::guid>(A::guid)}};

const Layout<SNMP> kSNMP45{
    E::SNMP, "SNMP", "parseSNMP", Form::AlwaysShort,
    {attr::spelled<&SNMP::trapLevel>(A::trapLevel, kTrapLevel)}};

const Layout<Report> kReport45{
    E::Report, "Report", "parseReport", Form::AlwaysShort,
    {
        attr::i32<&Report::maxReportsToKeep>(A::maxReportsToKeep),
        attr::i32<&Report::maxDaysToKeep>(A::maxDaysToKeep),
    }};

const Layout<Log> kLog45{
    E::Log, "Log", "parseLog", Form::AlwaysShort,
    {
        attr::long32<&Log::maxSize>(A::maxSize),
        attr::i32<&Log::maxDaysToKeep>(A::maxDaysToKeep),
        attr::i32<&Log::actionWhenSizeExceeded>(A::actionWhenSizeExceeded),
        attr::i32<&Log::sampleFrequency>(A::sampleFrequency),
    }};

const Layout<IDRange> kUIDRange45{
    E::UIDRange, "UIDRange", "parseUIDRange", Form::AlwaysShort,
    {
        attr::i32<&IDRange::firstID>(A::firstID),
        attr::i32<&IDRange::lastID>(A::lastID),
    }};
const Layout<IDRange> kGIDRange45{
    E::GIDRange, "GIDRange", "parseGIDRange", Form::AlwaysShort,
    {
        attr::i32<&IDRange::firstID>(A::firstID),
        attr::i32<&IDRange::lastID>(A::lastID),
    }};

const Layout<IDRangeList> kUIDRangeList45{
    E::UIDRangeList, "UIDRangeList", "parseUIDRangeList", Form::ShortWhenEmpty, {},
    {child::repeated<&IDRangeList::items>(kUIDRange45)}};
const Layout<IDRangeList> kGIDRangeList45{
    E::GIDRangeList, "GIDRangeList", "parseGIDRangeList", Form::ShortWhenEmpty, {},
    {child::repeated<&IDRangeList::items>(kGIDRange45)}};

const Layout<NASOption> kNASOption45{
    E::NASOption, "NASOption", "parseNASOption", Form::AlwaysLong,
    {
        attr::boolean<&NASOption::value>(A::value),
        attr::boolean<&NASOption::primary>(A::primary),
    },
    {
        child::single<&NASOption::uidRangeList>(kUIDRangeList45),
        child::single<&NASOption::gidRangeList>(kGIDRangeList45),
    }};

const Layout<AdapterWWPN> kAdapterWWPN45{
    E::AdapterWWPN, "AdapterWWPN", "parseAdapterWWPN", Form::AlwaysShort,
    {
        attr::i32<&AdapterWWPN::number>(A::number),
        attr::text<&AdapterWWPN::WWPN>(A::WWPN),
        attr::spelled<&AdapterWWPN::mode>(A::mode, kPortMode),
        attr::text<&AdapterWWPN::monitorWWPN>(A::monitorWWPN),
        attr::text<&AdapterWWPN::secondaryStandbyWWPN>(A::secondaryStandbyWWPN),
    }};

const Layout<AdapterWWPNList> kAdapterWWPNList45{
    E::AdapterWWPNList, "AdapterWWPNList", "parseAdapterWWPNList", Form::ShortWhenEmpty, {},
    {child::repeated<&AdapterWWPNList::items>(kAdapterWWPN45)}};

const Layout<FibreChannelOption> kFibreChannelOption45{
    E::FibreChannelOption, "FibreChannelOption", "parseFibreChannelOption", Form::AlwaysLong,
    {attr::boolean<&FibreChannelOption::enabled>(A::enabled)},
    {child::single<&FibreChannelOption::adapterWWPNList>(kAdapterWWPNList45)}};

const Layout<AutoSaveConfigOption> kAutoSaveConfigOption45{
    E::AutoSaveConfigOption, "AutoSaveConfigOption", "parseAutoSaveConfigOption", Form::AlwaysShort,
    {
        attr::boolean<&AutoSaveConfigOption::enabled>(A::enabled),
        attr::text<&AutoSaveConfigOption::cookie>(A::cookie),
        attr::text<&AutoSaveConfigOption::targetName>(A::targetName),
        attr::text<&AutoSaveConfigOption::targetDir>(A::targetDir),
        attr::i32<&AutoSaveConfigOption::interval>(A::interval),
        attr::i32<&AutoSaveConfigOption::copies>(A::copies),
        attr::i32<&AutoSaveConfigOption::port>(A::port, W::Always, 21),  // the file-transfer port
    }};

const Layout<ISCSIOption> kISCSIOption45{
    E::ISCSIOption, "ISCSIOption", "parseISCSIOption", Form::AlwaysShort,
    {
        attr::boolean<&ISCSIOption::enabled>(A::enabled),
        attr::i32<&ISCSIOption::port>(A::port),
        attr::text<&ISCSIOption::iSNS>(A::iSNS),
    }};

const Layout<EnabledOption> kCallHomeOption45{
    E::CallHomeOption, "CallHomeOption", "parseCallHomeOption", Form::AlwaysShort,
    {attr::boolean<&EnabledOption::enabled>(A::enabled)}};
const Layout<EnabledOption> kXBootOption45{
    E::XBootOption, "XBootOption", "parseXBootOption", Form::AlwaysShort,
    {attr::boolean<&EnabledOption::enabled>(A::enabled)}};
const Layout<EnabledOption> kSANBridgeOption45{
    E::SANBridgeOption, "SANBridgeOption", "parseSANBridgeOption", Form::AlwaysShort,
    {attr::boolean<&EnabledOption::enabled>(A::enabled)}};

const Layout<ReplicationOption> kReplicationOption45{
    E::ReplicationOption, "ReplicationOption", "parseReplicationOption", Form::AlwaysShort,
    {
        attr::boolean<&ReplicationOption::sieveEnabled>(A::sieveEnabled),
        attr::i32<&ReplicationOption::windowSize>(A::windowSize),
        attr::i32<&ReplicationOption::timeout>(A::timeout),
        attr::i32<&ReplicationOption::throttle>(A::throttle),
        attr::spelled<&ReplicationOption::protocol>(A::protocol, kReplicationProtocol),
    }};

const Layout<MirrorOption> kMirrorOption45{
    E::MirrorOption, "MirrorOption", "parseMirrorOption", Form::AlwaysShort,
    {
        attr::i32<&MirrorOption::cmdsout>(A::cmdsout),
        attr::i32<&MirrorOption::blockSize>(A::blockSize),
    }};

const Layout<QlogicOption> kQlogicOption45{
    E::QlogicOption, "QlogicOption", "parseQlogicOption", Form::AlwaysShort,
    {attr::i32<&QlogicOption::queueDepth>(A::queueDepth)}};

const Layout<BMROption> kBMROption45{
    E::BMROption, "BMROption", "parseBMROption", Form::AlwaysLong,
    {attr::boolean<&BMROption::enabled>(A::enabled)},
    {child::single<&BMROption::selfRegistrationPolicy>(kSelfRegistrationPolicy45)}};

const Layout<StatisticOption> kStatisticOption45{
    E::StatisticOption, "StatisticOption", "parseStatisticOption", Form::AlwaysShort,
    {
        attr::boolean<&StatisticOption::enabled>(A::enabled),
        attr::i32<&StatisticOption::interval>(A::interval),
    }};

const Layout<DHCPOption> kDHCPOption45{
    E::DHCPOption, "DHCPOption", "parseDHCPOption", Form::AlwaysShort,
    {
        attr::text<&DHCPOption::nameserver>(A::nameserver),
        attr::text<&DHCPOption::netmask>(A::netmask),
        attr::text<&DHCPOption::gateway>(A::gateway),
        attr::text<&DHCPOption::ipRangeStart>(A::ipRangeStart),
        attr::text<&DHCPOption::ipRangeEnd>(A::ipRangeEnd),
    }};

const Layout<DHCPOptionList> kDHCPOptionList45{
    E::DHCPOptionList, "DHCPOptionList", "parseDHCPOptionList", Form::ShortWhenEmpty,
    {attr::boolean<&DHCPOptionList::enabled>(A::enabled)},
    {child::repeated<&DHCPOptionList::items>(kDHCPOption45)}};

const Layout<Properties> kProperties45{
    E::Properties, "Properties", "parseProperties", Form::AlwaysLong,
    {
        attr::boolean<&Properties::gbport>(A::gbport),
        attr::boolean<&Properties::qos>(A::qos),
        attr::text<&Properties::inquiry>(A::inquiry),
    },
    {
        child::single<&Properties::confVol>(kConfVol45),
        child::single<&Properties::ipAliasing>(kIPAliasing45),
        child::single<&Properties::snmp>(kSNMP45),
        child::single<&Properties::report>(kReport45),
        child::single<&Properties::log>(kLog45),
        child::single<&Properties::nasOption>(kNASOption45),
        child::single<&Properties::fibreChannelOption>(kFibreChannelOption45),
        child::single<&Properties::autoSaveConfigOption>(kAutoSaveConfigOption45),
        child::single<&Properties::iscsiOption>(kISCSIOption45),
        child::single<&Properties::callHomeOption>(kCallHomeOption45),
        child::single<&Properties::replicationOption>(kReplicationOption45),
        child::single<&Properties::mirrorOption>(kMirrorOption45),
        child::single<&Properties::qlogicOption>(kQlogicOption45),
        child::single<&Properties::xBootOption>(kXBootOption45),
        child::single<&Properties::bmrOption>(kBMROption45),
        child::single<&Properties::sanBridgeOption>(kSANBridgeOption45),
        child::single<&Properties::statisticOption>(kStatisticOption45),
        child::single<&Properties::dhcpOptionList>(kDHCPOptionList45),
    }};

const Layout<SANBridge> kSANBridge45{
    E::SANBridge, "SANBridge", "parseSANBridge", Form::AlwaysLong,
    {
        attr::text<&SANBridge::name>(A::name),
        attr::text<&SANBridge::ipAddr>(A::ipAddr),
        attr::i32<&SANBridge::ipsanPort>(A::ipsanPort),
        attr::text<&SANBridge::timestamp>(A::timestamp),
        attr::i32<&SANBridge::instance>(A::instance),
        attr::text<&SANBridge::checksum>(A::checksum, W::Never),
    },
    {
        child::single<&SANBridge::properties>(kProperties45),
        child::single<&SANBridge::sanBridgeInfo>(kSANBridgeInfo45),
        child::optional<&SANBridge::failoverPrimary>(kFailoverPrimary45),
        child::optional<&SANBridge::failoverSecondary>(kFailoverSecondary45),
        child::single<&SANBridge::physicalResources>(kPhysicalResources45),
        child::single<&SANBridge::logicalResources>(kLogicalResources45),
        child::single<&SANBridge::sanClientList>(kSANClientList45),
    },
    {.finish = &validateSANBridge}};

}  // namespace model
