#pragma once

#include <foundation/Interruption.h>

#include <memory>

/// The SSH agent at SSH_AUTH_SOCK.
namespace SshAgent {

/// Whether the agent names its keys within some seconds, or cannot be reached at all. libcurl waits for a silent one
/// without a bound. False, too, once an interruption is requested, which may be null.
bool answers(const std::shared_ptr<Interruption>& interruption);

} // namespace SshAgent
