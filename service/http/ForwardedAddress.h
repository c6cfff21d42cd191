// The client's address behind trusted proxies.
#pragma once

#include "service/http/Address.h"
#include "service/http/RequestHead.h"

#include <string>

namespace kelvo::http {

/**
 * The address of the client that sent the request. A client can write the front of the fields
 * Forwarded and X-Forwarded-For itself. So they are read from their end, as long as the sender is a
 * trusted proxy. If both fields are there, or if a quote does not end, the result is `peer`. The
 * client may have written a field that the proxy does not set. An entry that is not an address (a
 * hidden name) ends the search; the result is then the address of the proxy that wrote it.
 */
std::string clientAddress(const RequestHead& head, const std::string& peer,
                          const AddressList& trusted);

} // namespace kelvo::http
