#pragma once
#include <cstdint>
#include <string>

#include "sys/host_env.h"

// Process-wide locks on System V semaphores: one set of one member per key,
// value 1 when free and 0 when held, every operation with undo so that a
// holder's death releases it. Keys are recorded in "<home>/etc/.semaphorekeys"
// so that kxRemoveAllSem can remove every set this installation made.
namespace host {

/// The System V key type, spelled without the system header.
using SemKey = std::int32_t;

/// Path of the keys file: home/etc, then "/.semaphorekeys".
std::string semaphoreKeysPath(const sys::HostEnv& env);

/// Id of the existing set for `key`, or -1 (logged at level 1).
int kxOpenSem(SemKey key) noexcept;

/// Creates the set for `key` (value 1) and records the key in the keys file.
/// Returns the new id, or -1 when the set already existed (the key is then
/// recorded unless already listed) or could not be made; open it then.
int kxCreateSem(const sys::HostEnv& env, SemKey key) noexcept;

/// Takes the lock; with `wait` false a held lock returns -1 at once.
/// Returns 0 when taken, -1 otherwise.
int kxLockSem(int semid, bool wait) noexcept;

/// Releases the lock. 0 when released or when it was not held (logged),
/// -1 for a negative id, a set without member 0, or a failed operation.
int kxUnlockSem(int semid, bool wait) noexcept;

/// Removes the set; failures are not reported.
void kxRemoveSem(int semid) noexcept;

/// Told of each key of the keys file: the id of the set removed for it, or
/// -1 when no set had that key.
using RemovedSem = void (*)(SemKey key, int semid, void* context);

/// Removes every set listed in the keys file, then the keys file.
/// Returns the result of removing the file (0, or -1 when it was not there).
int kxRemoveAllSem(const sys::HostEnv& env, RemovedSem removed = nullptr, void* context = nullptr) noexcept;

/// Sets the permission bits of the set from an octal text ("0600").
/// Returns 0, or -1 when the set's status cannot be read.
int kxModSem(int semid, const char* octalMode) noexcept;

/// The lock of the directory holding `path` (the local configuration file when
/// null): its set is created if need be, then taken within `seconds`, polling
/// every 10 ms. Returns the set id whether or not the lock was obtained (a
/// 0-second budget never tries), so callers release with kxUnlockSem, which
/// tolerates a free lock. -1 when no set can be had for the directory.
int kxLockDir(const sys::HostEnv& env, const char* path, int seconds) noexcept;

}  // namespace host
