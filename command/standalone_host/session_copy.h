// A session to try things on.
#ifndef ECLIPSE_INT_STANDALONE_HOST_SESSION_COPY_H
#define ECLIPSE_INT_STANDALONE_HOST_SESSION_COPY_H

#include <memory>

#include "standalone_host/session.h"

namespace eclipse_host {

/// A session with the same variables, components and capabilities, which has nothing in common with the first one. Its seams
/// are not set.
std::unique_ptr<eclipse_host::Session> copy_of(const eclipse_host::Session& session);

}  // namespace eclipse_host

#endif
