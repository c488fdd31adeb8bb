// The language server on two descriptors.
#ifndef ECLIPSE_INT_LANGUAGE_SERVER_SERVE_H
#define ECLIPSE_INT_LANGUAGE_SERVER_SERVE_H

#include "language_server/server.h"

namespace eclipse_language_server {

/// Serves an editor until it says "exit", or closes one of the two. Throws FramingError.
void serve(Server& server, int input, int output);

}  // namespace eclipse_language_server

#endif
