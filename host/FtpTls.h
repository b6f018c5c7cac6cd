// Whether a connection to an FTP server will be encrypted. The module uses TLS if it is offered, but does not say so.
#pragma once

#include "host/Device.h"

// Asks the server as libcurl does, over a connection of its own, for some seconds at most. Nothing when the answers
// leave it open.
std::optional<bool> OffersTls(const Server& Target);
