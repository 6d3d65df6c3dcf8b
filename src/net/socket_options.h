// What opening a socket takes, whatever its type.
#pragma once

#include <optional>
#include <string>

#include "quarn/net/address.h"
#include "quarn/utils/file_descriptor.h"

namespace quarn::net {

/// Sets an option that is a number. False when it fails, with errno.
bool set_option(const utils::FileDescriptor& descriptor, int level, int option, int value);

/// Begins or makes a connection to the address. False when it fails, with errno.
bool connect_to(const utils::FileDescriptor& descriptor, const Address& remote);

/// Binds to an address of this machine. False when it fails, with errno.
bool bind_to(const utils::FileDescriptor& descriptor, const Address& source);

/// Keeps the socket to the interface of this name. False when it fails, with errno.
bool select_interface(const utils::FileDescriptor& descriptor, const std::string& name);

/// The address that the socket is bound to; nothing when the kernel does not tell.
std::optional<Address> own_address(const utils::FileDescriptor& descriptor);

}  // namespace quarn::net
