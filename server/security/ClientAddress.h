// tarn::clientKey: the key under which the server counts what one client
// does (its connections, its failed logins). An IPv4 address is its own key;
// an IPv4-mapped IPv6 address counts as the IPv4 address; any other IPv6
// address counts as its /64 network, since one host commonly holds a whole
// /64. Text that is no address is its own key.
#pragma once

#include <string>
#include <string_view>

namespace tarn {

std::string clientKey(std::string_view address);

}  // namespace tarn
