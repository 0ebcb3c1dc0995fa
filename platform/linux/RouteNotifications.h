#pragma once

#include "platform/linux/FileDescriptor.h"

namespace tovi::platform {

/// A socket that becomes readable when the kernel notifies of the groups, RTMGRP_* of rtnetlink(7);
/// none when there can be no such socket. It does not block.
FileDescriptor openRouteNotifications(unsigned groups);
/// Empties the socket; true when anything was there.
bool takeRouteNotifications(const FileDescriptor& notifications);

}  // namespace tovi::platform
