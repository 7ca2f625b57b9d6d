#include "platform/addresses.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
// Behind the headers that it needs.
#include "platform/portable/native_addresses.h"
