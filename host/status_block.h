#pragma once
#include <cstdint>
#include <optional>

#include "sys/host_env.h"

// The shared server status block: two groups of four signed 32-bit slots in
// System V shared memory, the first group for the local server and the second
// for its partner. Slot 1 (the second word) of a group is the instance number
// of that server's configuration document.
//
// How it is found: one segment whose key is ftok("<home>/etc", 'S'), the home
// being the HostEnv's. The segment starts with a directory
// entry: a 32-bit layout version at byte 0, which must be 300, and at byte 4
// the handle of the block, its byte offset from the start of the segment. The
// block's eight slots lie there, in the host's byte order. A
// segment that is missing, cannot be attached, has another version or a
// handle that leaves no room for the block cannot be read or set.
namespace host {

enum class StatusGroup { Local = 0, Partner = 1 };

/// The configuration instance of `group`, or nullopt when the block cannot be read.
std::optional<std::int32_t> readConfigInstance(const sys::HostEnv& env, StatusGroup group) noexcept;

/// Sets the configuration instance of `group`; false when the block cannot be read.
bool setConfigInstance(const sys::HostEnv& env, StatusGroup group, std::int32_t instance) noexcept;

/// Creates the segment (mode 0666) with version 300, the block right after the
/// directory entry and every slot 0. Returns the segment id, or -1 when it
/// exists already or cannot be made.
int createStatusBlock(const sys::HostEnv& env) noexcept;

/// Removes the segment. Returns 0, or -1 when there is none.
int removeStatusBlock(const sys::HostEnv& env) noexcept;

}  // namespace host
