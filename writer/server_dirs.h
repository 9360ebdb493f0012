#pragma once
#include <cstdint>
#include <string>

#include "model/records_clients.h"
#include "sys/host_env.h"

// Which server's directory holds a document: the partner named by the failover
// record, the device numbers a document owns, the server an address belongs to.
// These read configuration documents, so they live here rather than beside the
// plain path helpers of xml/home.h. The home and the local host are the HostEnv's.
//
// Decisions, one line each:
// - Documents are read with readBridge45 (shared lock, validateSANBridge); one that cannot be read counts as absent.
// - A device number is a VirtualDev id, looked up by findVirtualDev below.
// - The failover record is the first present of FailoverPrimary and FailoverSecondary, never both.
// - Its server name is FailoverPrimary's secondaryServer or FailoverSecondary's primaryServer.
// - A record whose server name is absent or empty names no partner; the other record is not tried.
// - Its address list is its NICInfoList; an entry matches on clientConnectionIP or heartbeatIP.
// - An absent address field never matches; an empty one matches an empty name.
// - A bridge without a name (absent or empty) has no nimbra.ip to consult.
// - First lines of the index and of nimbra.ip are read into 1024 bytes: 1023 characters at most.
// - nimbra.ip gives the first blank-delimited word of that line; a line without one matches nothing.
// - The index number is read as "%d" on 32-bit integers: out-of-range values saturate.
// - Ownership ranges are computed with 32-bit wrap-around, so a base near the top owns nothing above it.

namespace writer {


/// home/etc/<partner>/nimbra.conf, the partner named by the local document's
/// failover record; empty when the local document cannot be read or names no
/// partner.
std::string partnerConfigPath(const sys::HostEnv& env) noexcept;

/// home/etc/<partner>/nas.conf, under the same rule.
std::string partnerNasPath(const sys::HostEnv& env) noexcept;

/// Whether the document at `configPath` owns device `device`: by the number in
/// "<configPath>.ndx" when that gives one, else by reading the document. False
/// when neither can be read.
bool documentOwnsDevice(const std::string& configPath, std::int32_t device) noexcept;

/// The directory of the document that owns `device`: the local directory, else
/// the partner's when its document owns it, else the local directory.
std::string configDirectoryForDevice(const sys::HostEnv& env, std::int32_t device) noexcept;

/// configDirectoryForDevice(device) + "/nimbra.conf".
std::string configPathForDevice(const sys::HostEnv& env, std::int32_t device) noexcept;

/// configDirectoryForDevice(device) + "/nimbra.dat".
std::string statusPathForDevice(const sys::HostEnv& env, std::int32_t device) noexcept;

/// The directory of the first document, local then partner's, that belongs to
/// `nameOrAddress` (by its failover addresses or its nimbra.ip); the local
/// directory when none does or the name is null.
std::string configDirectoryForServer(const sys::HostEnv& env, const char* nameOrAddress) noexcept;

}  // namespace writer
