#include <iterator>
#include <new>
#include <utility>
#include <vector>

#include "legacy/fixups.h"
#include "legacy/layout40.h"

// The 4.0 layout of the clients, the failover pairing, the bridge's options
// and the bridge itself.

namespace legacy {

namespace {

// 4.0 has no "machine" access: such an initiator is written as the access a
// 4.0 reader makes of that word, none. Read as in 4.5.
constexpr model::Spelling kInitiatorAccessTypeSpellings40[] = {{1, "mobile"}, {2, "stationary"}, {3, "public"}};
const model::EnumTable kInitiatorAccessType40{
    kInitiatorAccessTypeSpellings40, static_cast<int>(std::size(kInitiatorAccessTypeSpellings40)),
    model::kInitiatorAccessType.otherText, model::kInitiatorAccessType.readings,
    model::kInitiatorAccessType.readingCount, model::kInitiatorAccessType.otherValue};

}  // namespace

using model::Layout;
using model::ReadOrder;
using A = model::AttrId;
using E = model::ElementId;
using W = model::WriteIf;
namespace attr = model::attr;
namespace child = model::child;
namespace m = model;

// WWPNMap shares the WWPNPair parser, record and routine; it has its own entry
// only so that FibreChannelProperties can keep it by its number.
const Layout<m::WWPNPair> kWWPNPair40{
    E::WWPNPair, "WWPNPair", "parseWWPNPair", m::Form::AlwaysShort,
    {
        attr::text<&m::WWPNPair::initiatorWWPN>(A::initiatorWWPN),
        attr::text<&m::WWPNPair::targetWWPN>(A::targetWWPN),
    }};
const Layout<m::WWPNPair> kWWPNMap40{
    E::WWPNMap, "WWPNMap", "parseWWPNPair", m::Form::AlwaysShort,
    {
        attr::text<&m::WWPNPair::initiatorWWPN>(A::initiatorWWPN),
        attr::text<&m::WWPNPair::targetWWPN>(A::targetWWPN),
    },
    {}, {.record = "WWPNPair"}};

const Layout<m::WWPNPairList> kWWPNPairList40{
    E::WWPNPairList, "WWPNPairList", "parseWWPNPairList", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::WWPNPairList::items>(kWWPNPair40, 16)}};

namespace {

// A 4.0 client keeps its WWPN pairs in one list of its own: WWPNPair and
// WWPNMap elements directly inside FibreChannelProperties, and the pairs of a
// WWPNPairList child, all in document order. They land in the one pair list
// that 4.5 writes, and are written back as a WWPNPairList.
void* pairsOf(void* record) {
    return &static_cast<m::FibreChannelProperties*>(record)->wwpnPairList.items;
}

model::ChildOutcome appendListedPairs(void* field, model::ParseContext& ctx, const model::LayoutBase& layout,
                                      const char* openName) {
    m::WWPNPairList list;
    if (!model::parseElement(ctx, layout, &list, openName)) return model::ChildOutcome::Failed;
    auto& pairs = static_cast<m::WWPNPairList*>(field)->items;
    try {
        pairs.insert(pairs.end(), std::make_move_iterator(list.items.begin()),
                     std::make_move_iterator(list.items.end()));
    } catch (const std::bad_alloc&) {
        return model::ChildOutcome::GrowthFailed;
    }
    return model::ChildOutcome::Kept;
}

// A pair met directly inside the properties: read into the list, never written so.
model::ChildSpec loosePairs(const model::LayoutBase& layout) {
    return model::ChildSpec{&layout, nullptr, 0, nullptr, model::Store::Repeated, 16, &pairsOf,
                            &model::detail::parseRepeated<m::WWPNPair>, nullptr, nullptr, nullptr};
}

model::ChildSpec listedPairs() {
    model::ChildSpec spec = child::single<&m::FibreChannelProperties::wwpnPairList>(kWWPNPairList40);
    spec.step = 16;
    spec.parse = &appendListedPairs;  // a second list adds to the first
    return spec;
}

}  // namespace

// handshakeTimeout is consumed with its value but not kept: a converted client
// carries 0. It is written all the same. A WWPNList child (WWPN records, not
// pairs) is dropped.
const Layout<m::FibreChannelProperties> kFibreChannelProperties40{
    E::FibreChannelProperties, "FibreChannelProperties", "parseFibreChannelProperties", m::Form::AlwaysLong,
    {
        attr::bool3<&m::FibreChannelProperties::authMode>(A::authMode),
        attr::i32<&m::FibreChannelProperties::heartbeatTimeout>(A::heartbeatTimeout),
        attr::writtenOnly(attr::i32<&m::FibreChannelProperties::handshakeTimeout>(A::handshakeTimeout)),
        attr::i32<&m::FibreChannelProperties::scsiTimeout>(A::scsiTimeout),
        attr::i32<&m::FibreChannelProperties::authenticationGracePeriod>(A::authenticationGracePeriod),
        attr::bool3<&m::FibreChannelProperties::vsaEnabled>(A::vsaEnabled),
        attr::bool3<&m::FibreChannelProperties::as400Enabled>(A::as400Enabled),
        attr::i32<&m::FibreChannelProperties::heartbeatInterval>(A::heartbeatInterval),
    },
    {
        loosePairs(kWWPNPair40),
        loosePairs(kWWPNMap40),
        listedPairs(),
    }};

const Layout<m::VirtualDevConnection> kVirtualDevConnection40{
    E::VirtualDevConnection, "VirtualDevConnection", "parseVirtualDevConnection", m::Form::AlwaysShort,
    {
        attr::i32<&m::VirtualDevConnection::channel>(A::channel),
        attr::i32<&m::VirtualDevConnection::id>(A::id),
        attr::i32<&m::VirtualDevConnection::lun>(A::lun),
        attr::i32<&m::VirtualDevConnection::scsiID>(A::scsiID),
        attr::text<&m::VirtualDevConnection::bridge>(A::bridge),
        attr::text<&m::VirtualDevConnection::vdevname>(A::vdevname),
        attr::spelled<&m::VirtualDevConnection::access>(A::access, m::kAccessMode),
    }};

const Layout<m::VirtualAdapter> kVirtualAdapter40{
    E::VirtualAdapter, "VirtualAdapter", "parseVirtualAdapter", m::Form::ShortWhenEmpty,
    {
        attr::spelled<&m::VirtualAdapter::type>(A::type, m::kVirtualAdapterType),
        attr::i32<&m::VirtualAdapter::number>(A::number),
        attr::i32<&m::VirtualAdapter::channels>(A::channels),
        attr::i32<&m::VirtualAdapter::scsiID>(A::scsiID),
        attr::text<&m::VirtualAdapter::bridge>(A::bridge),
    },
    {child::repeated<&m::VirtualAdapter::connections>(kVirtualDevConnection40, 128)}};

// A 4.0 device connection keeps no pair.
const Layout<m::FibreChannelDevice> kFibreChannelDevice40{
    E::FibreChannelDevice, "FibreChannelDevice", "parseFibreChannelDevice", m::Form::AlwaysLong,
    {
        attr::i32<&m::FibreChannelDevice::id>(A::id),
        attr::i32<&m::FibreChannelDevice::lun>(A::lun),
        attr::text<&m::FibreChannelDevice::vdevname>(A::vdevname),
        attr::spelled<&m::FibreChannelDevice::access>(A::access, m::kAccessMode),
    }};

const Layout<m::FibreChannelAdapter> kFibreChannelAdapter40{
    E::FibreChannelAdapter, "FibreChannelAdapter", "parseFibreChannelAdapter", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::FibreChannelAdapter::items>(kFibreChannelDevice40, 16)}};

const Layout<m::ISCSIInitiator> kISCSIInitiator40{
    E::ISCSIInitiator, "ISCSIInitiator", "parseISCSIInitiator", m::Form::AlwaysShort,
    {attr::text<&m::ISCSIInitiator::name>(A::name)}};

const Layout<m::ISCSIInitiatorProperties> kISCSIInitiatorProperties40{
    E::ISCSIInitiatorProperties, "ISCSIInitiatorProperties", "parseISCSIInitiatorProperties", m::Form::ShortWhenEmpty,
    {
        attr::spelled<&m::ISCSIInitiatorProperties::accessType>(A::accessType, kInitiatorAccessType40),
        attr::spelled<&m::ISCSIInitiatorProperties::authMethod>(A::authMethod, m::kAuthMethod),
        attr::text<&m::ISCSIInitiatorProperties::user>(A::user),
    },
    {child::repeated<&m::ISCSIInitiatorProperties::items>(kISCSIInitiator40)},
    {.record = "ISCSITarget"}};

const Layout<m::ISCSIProperties> kISCSIProperties40{
    E::ISCSIProperties, "ISCSIProperties", "parseISCSIProperties", m::Form::AlwaysLong, {},
    {child::single<&m::ISCSIProperties::iscsiInitiatorProperties>(kISCSIInitiatorProperties40)}};

const Layout<m::TargetID> kTargetID40{
    E::TargetID, "TargetID", "parseTargetID", m::Form::AlwaysShort, {attr::i32<&m::TargetID::id>(A::id)}};

const Layout<m::TargetIDList> kTargetIDList40{
    E::TargetIDList, "TargetIDList", "parseTargetIDList", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::TargetIDList::items>(kTargetID40, 16)}};

const Layout<m::SelfRegistrationPolicy> kSelfRegistrationPolicy40{
    E::SelfRegistrationPolicy, "SelfRegistrationPolicy", "parseSelfRegistrationPolicy", m::Form::AlwaysShort,
    {
        attr::i32<&m::SelfRegistrationPolicy::type>(A::type),
        attr::i32<&m::SelfRegistrationPolicy::usedSizePercentage>(A::usedSizePercentage),
        attr::i32<&m::SelfRegistrationPolicy::fixedDiskSizeMB>(A::fixedDiskSizeMB),
        attr::i32<&m::SelfRegistrationPolicy::maxDiskSizeMB>(A::maxDiskSizeMB),
    }};

const Layout<m::BMRProperties> kBMRProperties40{
    E::BMRProperties, "BMRProperties", "parseBMRProperties", m::Form::AlwaysLong, {},
    {child::single<&m::BMRProperties::selfRegistrationPolicy>(kSelfRegistrationPolicy40)}};

const Layout<m::BootImage> kLinuxBoot40{
    E::LinuxBoot, "LinuxBoot", "parseLinuxBoot", m::Form::AlwaysShort,
    {
        attr::long32<&m::BootImage::timestamp>(A::timestamp),
        attr::text<&m::BootImage::label>(A::label),
        attr::i32<&m::BootImage::vid>(A::vid),
    }};
const Layout<m::BootImage> kWindowsBoot40{
    E::WindowsBoot, "WindowsBoot", "parseWindowsBoot", m::Form::AlwaysShort,
    {
        attr::long32<&m::BootImage::timestamp>(A::timestamp),
        attr::text<&m::BootImage::label>(A::label),
        attr::i32<&m::BootImage::vid>(A::vid),
    }};

const Layout<m::BootList> kLinuxBootList40{
    E::LinuxBootList, "LinuxBootList", "parseLinuxBootList", m::Form::ShortWhenEmpty,
    {attr::text<&m::BootList::defaultLabel>(A::defaultLabel)},
    {child::repeated<&m::BootList::items>(kLinuxBoot40, 16)},
    {.order = ReadOrder::NameFirst}};
const Layout<m::BootList> kWindowsBootList40{
    E::WindowsBootList, "WindowsBootList", "parseWindowsBootList", m::Form::ShortWhenEmpty,
    {attr::text<&m::BootList::defaultLabel>(A::defaultLabel)},
    {child::repeated<&m::BootList::items>(kWindowsBoot40, 16)},
    {.order = ReadOrder::NameFirst}};

const Layout<m::BootProperties> kBootProperties40{
    E::BootProperties, "BootProperties", "parseBootProperties", m::Form::AlwaysLong,
    {
        attr::text<&m::BootProperties::ipAddr>(A::ipAddr),
        attr::i32<&m::BootProperties::timeout>(A::timeout),
        attr::bool3<&m::BootProperties::useStaticIP>(A::useStaticIP),
        attr::text<&m::BootProperties::macAddress>(A::macAddress),
        attr::spelled<&m::BootProperties::defaultBoot>(A::defaultBoot, m::kDefaultBoot),
        attr::text<&m::BootProperties::comment>(A::comment),
    },
    {
        child::optional<&m::BootProperties::bmrProperties>(kBMRProperties40),
        child::optional<&m::BootProperties::linuxBootList>(kLinuxBootList40),
        child::optional<&m::BootProperties::windowsBootList>(kWindowsBootList40),
    }};

// isFibreChannelEnabled is consumed with its value but not kept: a converted
// client carries "false". It is written all the same.
const Layout<m::SANClient> kSANClient40{
    E::SANClient, "SANClient", "parseSANClient", m::Form::AlwaysLong,
    {
        attr::i32<&m::SANClient::id>(A::id),
        attr::text<&m::SANClient::name>(A::name),
        attr::text<&m::SANClient::serverIP>(A::serverIP),
        attr::bool3<&m::SANClient::isSANIPEnabled>(A::isSANIPEnabled),
        attr::writtenOnly(attr::bool3<&m::SANClient::isFibreChannelEnabled>(A::isFibreChannelEnabled)),
        attr::bool3<&m::SANClient::isiSCSIEnabled>(A::isiSCSIEnabled),
        attr::bool3<&m::SANClient::isBMREnabled>(A::isBMREnabled),
        attr::bool3<&m::SANClient::isxBootEnabled>(A::isxBootEnabled),
    },
    {
        child::repeated<&m::SANClient::virtualAdapters>(kVirtualAdapter40),
        child::repeated<&m::SANClient::fibreChannelAdapters>(kFibreChannelAdapter40),
        child::single<&m::SANClient::fibreChannelProperties>(kFibreChannelProperties40),
        child::optional<&m::SANClient::iscsiProperties>(kISCSIProperties40),
        child::optional<&m::SANClient::targetIDList>(kTargetIDList40),
        child::optional<&m::SANClient::bootProperties>(kBootProperties40),
    }};

const Layout<m::SANClientList> kSANClientList40{
    E::SANClientList, "SANClientList", "parseSANClientList", m::Form::ShortWhenEmpty,
    {attr::i32<&m::SANClientList::nextClientID>(A::nextClientID)},
    {child::repeated<&m::SANClientList::items>(kSANClient40, 64)},
    {.order = ReadOrder::NameFirst}};

// Its InfoItem children are not kept.
const Layout<SANBridgeInfo> kSANBridgeInfo40{
    E::SANBridgeInfo, "SANBridgeInfo", "parseSANBridgeInfo", m::Form::ShortWhenEmpty, {},
    {child::repeated<&SANBridgeInfo::clients>(kSANClient40)}};

const Layout<m::NICInfo> kNICInfo40{
    E::NICInfo, "NICInfo", "parseNICInfo", m::Form::AlwaysShort,
    {
        attr::text<&m::NICInfo::clientConnectionIP>(A::clientConnectionIP),
        attr::text<&m::NICInfo::subnet>(A::subnet),
        attr::text<&m::NICInfo::heartbeatIP>(A::heartbeatIP),
    }};

const Layout<m::NICInfoList> kNICInfoList40{
    E::NICInfoList, "NICInfoList", "parseNICInfoList", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::NICInfoList::items>(kNICInfo40, 64)}};

const Layout<m::FailoverPrimary> kFailoverPrimary40{
    E::FailoverPrimary, "FailoverPrimary", "parseFailoverPrimary", m::Form::AlwaysLong,
    {
        attr::text<&m::FailoverPrimary::guiExternalName>(A::guiExternalName),
        attr::bool3<&m::FailoverPrimary::isComplete>(A::isComplete),
        attr::text<&m::FailoverPrimary::quorumDisk>(A::quorumDisk),
        attr::text<&m::FailoverPrimary::quorumDiskMirror>(A::quorumDiskMirror, W::Never),
        attr::text<&m::FailoverPrimary::secondaryServer>(A::secondaryServer),
        attr::i32<&m::FailoverPrimary::selfCheckInterval>(A::selfCheckInterval),
    },
    {child::single<&m::FailoverPrimary::nicInfoList>(kNICInfoList40)}};

const Layout<m::FailoverSecondary> kFailoverSecondary40{
    E::FailoverSecondary, "FailoverSecondary", "parseFailoverSecondary", m::Form::AlwaysLong,
    {
        attr::text<&m::FailoverSecondary::guiExternalName>(A::guiExternalName),
        attr::spelled<&m::FailoverSecondary::takeoverCondition>(A::takeoverCondition, m::kTakeoverCondition),
        attr::text<&m::FailoverSecondary::quorumDisk>(A::quorumDisk),
        attr::text<&m::FailoverSecondary::quorumDiskMirror>(A::quorumDiskMirror, W::Never),
        attr::text<&m::FailoverSecondary::primaryServer>(A::primaryServer),
        attr::i32<&m::FailoverSecondary::heartbeatInterval>(A::heartbeatInterval),
        attr::i32<&m::FailoverSecondary::autoRecoveryIn>(A::autoRecoveryIn),
        attr::bool3<&m::FailoverSecondary::enabled>(A::enabled),
        attr::bool3<&m::FailoverSecondary::isInFailoverState>(A::isInFailoverState),
    },
    {child::single<&m::FailoverSecondary::nicInfoList>(kNICInfoList40)}};

const Layout<std::string> kIPAddress40{E::IPAddress, "IPAddress", "parseTextContent", m::Form::TextAsHeld, {}};

const Layout<m::IPAliasing> kIPAliasing40{
    E::IPAliasing, "IPAliasing", "parseIPAliasing", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::IPAliasing::addresses>(kIPAddress40, 8)}};

const Layout<m::ConfVol> kConfVol40{
    E::ConfVol, "ConfVol", "parseConfVol", m::Form::AlwaysShort, {attr::text<&m::ConfVol::guid>(A::guid)}};

const Layout<m::SNMP> kSNMP40{
    E::SNMP, "SNMP", "parseSNMP", m::Form::AlwaysShort,
    {attr::spelled<&m::SNMP::trapLevel>(A::trapLevel, m::kTrapLevel)}};

const Layout<m::Report> kReport40{
    E::Report, "Report", "parseReport", m::Form::AlwaysShort,
    {
        attr::i32<&m::Report::maxReportsToKeep>(A::maxReportsToKeep),
        attr::i32<&m::Report::maxDaysToKeep>(A::maxDaysToKeep),
    },
    {}, {.record = "SCSI Address"}};

const Layout<m::Log> kLog40{
    E::Log, "Log", "parseLog", m::Form::AlwaysShort,
    {
        attr::i32<&m::Log::maxDaysToKeep>(A::maxDaysToKeep),
        attr::long32<&m::Log::maxSize>(A::maxSize),
        attr::i32<&m::Log::actionWhenSizeExceeded>(A::actionWhenSizeExceeded),
        attr::i32<&m::Log::sampleFrequency>(A::sampleFrequency),
    },
    {}, {.record = "SCSI Address"}};

const Layout<m::IDRange> kUIDRange40{
    E::UIDRange, "UIDRange", "parseUIDRange", m::Form::AlwaysShort,
    {
        attr::i32<&m::IDRange::firstID>(A::firstID),
        attr::i32<&m::IDRange::lastID>(A::lastID),
    }};
const Layout<m::IDRange> kGIDRange40{
    E::GIDRange, "GIDRange", "parseGIDRange", m::Form::AlwaysShort,
    {
        attr::i32<&m::IDRange::firstID>(A::firstID),
        attr::i32<&m::IDRange::lastID>(A::lastID),
    }};

const Layout<m::IDRangeList> kUIDRangeList40{
    E::UIDRangeList, "UIDRangeList", "parseUIDRangeList", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::IDRangeList::items>(kUIDRange40, 4)}};
const Layout<m::IDRangeList> kGIDRangeList40{
    E::GIDRangeList, "GIDRangeList", "parseGIDRangeList", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::IDRangeList::items>(kGIDRange40, 4)}};

const Layout<m::NASOption> kNASOption40{
    E::NASOption, "NASOption", "parseNASOption", m::Form::AlwaysLong,
    {
        attr::bool3<&m::NASOption::value>(A::value),
        attr::bool3<&m::NASOption::primary>(A::primary),
    },
    {
        child::single<&m::NASOption::uidRangeList>(kUIDRangeList40),
        child::single<&m::NASOption::gidRangeList>(kGIDRangeList40),
    }};

const Layout<m::AdapterWWPN> kAdapterWWPN40{
    E::AdapterWWPN, "AdapterWWPN", "parseAdapterWWPN", m::Form::AlwaysShort,
    {
        attr::i32<&m::AdapterWWPN::number>(A::number),
        attr::spelled<&m::AdapterWWPN::mode>(A::mode, m::kPortMode),
        attr::text<&m::AdapterWWPN::WWPN>(A::WWPN),
        attr::text<&m::AdapterWWPN::monitorWWPN>(A::monitorWWPN),
        attr::text<&m::AdapterWWPN::secondaryStandbyWWPN>(A::secondaryStandbyWWPN),
    }};

const Layout<m::AdapterWWPNList> kAdapterWWPNList40{
    E::AdapterWWPNList, "AdapterWWPNList", "parseAdapterWWPNList", m::Form::ShortWhenEmpty, {},
    {child::repeated<&m::AdapterWWPNList::items>(kAdapterWWPN40, 16)}};

const Layout<m::FibreChannelOption> kFibreChannelOption40{
    E::FibreChannelOption, "FibreChannelOption", "parseFibreChannelOption", m::Form::AlwaysLong,
    {attr::bool3<&m::FibreChannelOption::enabled>(A::enabled)},
    {child::single<&m::FibreChannelOption::adapterWWPNList>(kAdapterWWPNList40)}};

const Layout<m::ISCSIOption> kISCSIOption40{
    E::ISCSIOption, "ISCSIOption", "parseISCSIOption", m::Form::AlwaysShort,
    {
        attr::i32<&m::ISCSIOption::port>(A::port),
        attr::text<&m::ISCSIOption::iSNS>(A::iSNS),
        attr::bool3<&m::ISCSIOption::enabled>(A::enabled),
    }};

const Layout<m::EnabledOption> kCallHomeOption40{
    E::CallHomeOption, "CallHomeOption", "parseCallHomeOption", m::Form::AlwaysShort,
    {attr::bool3<&m::EnabledOption::enabled>(A::enabled)}};
const Layout<m::EnabledOption> kXBootOption40{
    E::XBootOption, "XBootOption", "parseXBootOption", m::Form::AlwaysShort,
    {attr::bool3<&m::EnabledOption::enabled>(A::enabled)}};
const Layout<m::EnabledOption> kSANBridgeOption40{
    E::SANBridgeOption, "SANBridgeOption", "parseSANBridgeOption", m::Form::AlwaysShort,
    {attr::bool3<&m::EnabledOption::enabled>(A::enabled)}};

const Layout<m::ReplicationOption> kReplicationOption40{
    E::ReplicationOption, "ReplicationOption", "parseReplicationOption", m::Form::AlwaysShort,
    {
        attr::bool3<&m::ReplicationOption::sieveEnabled>(A::sieveEnabled),
        attr::i32<&m::ReplicationOption::windowSize>(A::windowSize),
        attr::i32<&m::ReplicationOption::timeout>(A::timeout),
    }};

const Layout<m::MirrorOption> kMirrorOption40{
    E::MirrorOption, "MirrorOption", "parseMirrorOption", m::Form::AlwaysShort,
    {
        attr::i32<&m::MirrorOption::blockSize>(A::blockSize),
        attr::i32<&m::MirrorOption::cmdsout>(A::cmdsout),
    }};

const Layout<m::BMROption> kBMROption40{
    E::BMROption, "BMROption", "parseBMROption", m::Form::AlwaysLong,
    {attr::bool3<&m::BMROption::enabled>(A::enabled)},
    {child::single<&m::BMROption::selfRegistrationPolicy>(kSelfRegistrationPolicy40)}};

const Layout<m::StatisticOption> kStatisticOption40{
    E::StatisticOption, "StatisticOption", "parseStatisticOption", m::Form::AlwaysShort,
    {
        attr::i32<&m::StatisticOption::interval>(A::interval),
        attr::bool3<&m::StatisticOption::enabled>(A::enabled),
    }};

const Layout<m::DHCPOption> kDHCPOption40{
    E::DHCPOption, "DHCPOption", "parseDHCPOption", m::Form::AlwaysShort,
    {
        attr::text<&m::DHCPOption::nameserver>(A::nameserver),
        attr::text<&m::DHCPOption::netmask>(A::netmask),
        attr::text<&m::DHCPOption::gateway>(A::gateway),
        attr::text<&m::DHCPOption::ipRangeStart>(A::ipRangeStart),
        attr::text<&m::DHCPOption::ipRangeEnd>(A::ipRangeEnd),
    }};

const Layout<m::DHCPOptionList> kDHCPOptionList40{
    E::DHCPOptionList, "DHCPOptionList", "parseDHCPOptionList", m::Form::ShortWhenEmpty,
    {attr::bool3<&m::DHCPOptionList::enabled>(A::enabled)},
    {child::repeated<&m::DHCPOptionList::items>(kDHCPOption40)},
    {.record = "ISCSITarget", .order = ReadOrder::NameFirst}};

const Layout<m::Properties> kProperties40{
    E::Properties, "Properties", "parseProperties", m::Form::AlwaysLong,
    {attr::text<&m::Properties::inquiry>(A::inquiry)},
    {
        child::single<&m::Properties::ipAliasing>(kIPAliasing40),
        child::single<&m::Properties::snmp>(kSNMP40),
        child::single<&m::Properties::report>(kReport40),
        child::single<&m::Properties::log>(kLog40),
        child::single<&m::Properties::nasOption>(kNASOption40),
        child::single<&m::Properties::fibreChannelOption>(kFibreChannelOption40),
        child::single<&m::Properties::confVol>(kConfVol40),
        child::single<&m::Properties::iscsiOption>(kISCSIOption40),
        child::single<&m::Properties::callHomeOption>(kCallHomeOption40),
        child::single<&m::Properties::replicationOption>(kReplicationOption40),
        child::single<&m::Properties::mirrorOption>(kMirrorOption40),
        child::single<&m::Properties::sanBridgeOption>(kSANBridgeOption40),
        child::single<&m::Properties::bmrOption>(kBMROption40),
        child::single<&m::Properties::dhcpOptionList>(kDHCPOptionList40),
        child::single<&m::Properties::statisticOption>(kStatisticOption40),
        child::single<&m::Properties::xBootOption>(kXBootOption40),
    }};

// The fix-ups run whenever the bridge element ends, however it ends. The
// bridge is written as the 4.5 one is: the same attributes (no checksum) and
// children in the same order.
const Layout<SANBridge> kSANBridge40{
    E::SANBridge, "SANBridge", "parseSANBridge", m::Form::AlwaysLong,
    {
        attr::text<&SANBridge::name>(A::name),
        attr::text<&SANBridge::ipAddr>(A::ipAddr),
        attr::i32<&SANBridge::ipsanPort>(A::ipsanPort),
        attr::text<&SANBridge::timestamp>(A::timestamp),
        attr::i32<&SANBridge::instance>(A::instance),
        attr::text<&SANBridge::checksum>(A::checksum, W::Never),
    },
    {
        child::single<&SANBridge::properties>(kProperties40),
        child::single<&SANBridge::sanBridgeInfo>(kSANBridgeInfo40),
        child::optional<&SANBridge::failoverPrimary>(kFailoverPrimary40),
        child::optional<&SANBridge::failoverSecondary>(kFailoverSecondary40),
        child::single<&SANBridge::physicalResources>(kPhysicalResources40),
        child::single<&SANBridge::logicalResources>(kLogicalResources40),
        child::single<&SANBridge::sanClientList>(kSANClientList40),
    },
    {.order = ReadOrder::NameFirst, .finish = &applyFixups}};

}  // namespace legacy
