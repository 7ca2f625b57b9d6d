#include "platform/addresses.h"

#include <winsock2.h>
#include <ws2tcpip.h>
// Behind the headers that it needs.
#include "platform/portable/native_addresses.h"
