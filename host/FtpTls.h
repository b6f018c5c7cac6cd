// Whether a connection to an FTP server will be encrypted: the module takes TLS if it is offered, and does not tell.
#pragma once

#include "host/Device.h"

// Asks the server as libcurl does, over a connection of its own, for some seconds. Nothing when its answers say neither.
std::optional<bool> OffersTls(const Server& Target);
