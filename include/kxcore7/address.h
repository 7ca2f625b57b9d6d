/*
 * Which machine this is: its addresses, its name, and whether a name means this machine.
 *
 * The address record is the system's struct addrinfo, as <netdb.h> has it on Linux and <ws2tcpip.h>
 * on Windows; whoever looks into one includes that header. Families are the system's numbers.
 * Names are text in the process's locale (narrow) or UTF-16 (wide).
 *
 * Any thread may call these. What is found out about this machine is kept until the process ends:
 * addresses and names that come or go later are not seen.
 */
#ifndef KXCORE7_ADDRESS_H
#define KXCORE7_ADDRESS_H

#include "export.h"
#include "types.h"

struct addrinfo;

KX_EXTERN_C_BEGIN

/* --- Addresses of this machine ---------------------------------------------------------------- */

/*
 * Stores the heads of two lists: the addresses of this machine's interfaces, and those of
 * "localhost". Either may be null. ::1 is never in the first; the link-local fe80::1 of the first
 * interface counts as one of "localhost". Where the resolver has a canonical name for that, it is
 * in the head of either list.
 *
 * The lists are the library's: they are the same at every call, stay as long as it is loaded, and
 * are neither to be freed nor changed. What can't be found out makes a list shorter and is no
 * failure.
 * KX_E_FAIL: the network could not be started; *mine is null, *loopback is as it was, and the next
 * call tries again. The first call may also give KX_E_OUTOFMEMORY, with the same effect.
 */
KX_API KXResult KXGetMyAddressInformation(struct addrinfo** mine, struct addrinfo** loopback);

/*
 * 1 if some address is in both lists, else 0; also 0 if either is null. Addresses are equal if they
 * are of one family, IPv4 or IPv6, with the same bytes; scope, flow and port do not count.
 */
KX_API KXBool16 KXCompareAddressInformation(const struct addrinfo* a, const struct addrinfo* b);

/* --- Names ------------------------------------------------------------------------------------ */

/*
 * getaddrinfo with the name in lower case. In a name that holds ".ipv6-literal.net", which stands
 * for an IPv6 address where a colon can't be written, this and all behind it is cut off, each "-"
 * in front of it means ":" and each "s" means "%". The name is not null.
 * What getaddrinfo returns: 0 and a list for KXfreeaddrinfo, or an error in the system's numbers.
 * On Windows the network has to be started before, as KXGetMyAddressInformation does.
 */
KX_API int KXgetaddrinfo(const char* node, const char* service, const struct addrinfo* hints,
                         struct addrinfo** result);

/* Frees what KXgetaddrinfo gave, never a list of KXGetMyAddressInformation. */
KX_API void KXfreeaddrinfo(struct addrinfo* list);

/*
 * Writes the name that the machine has in the network, and a terminator; at most 1026 units.
 * KX_E_FAIL: the name takes more than size units, or the system did not tell it. The wide form
 * wants as many units as the narrow one has bytes.
 */
KX_API KXResult KXGetHostNameA(char* name, size_t size);
KX_API KXResult KXGetHostName(char16_t* name, size_t size);

/*
 * 1 if the name means this machine, else 0, also where that can't be found out. The host name,
 * "localhost", "127.0.0.1", "::1" and the empty name do; of any other name the resolver's answer
 * is compared with the lists above. Case does not count. The name goes to the resolver as it is: no
 * brackets, backslashes, ports or trailing dots are taken off.
 *
 * Each answer is kept, also that a name was not found: a name is resolved once in a process. While
 * that takes time, other callers wait. If the network could not be started every name gets 0, and
 * nothing is kept.
 *
 * Names count up to 1025 bytes: a longer narrow one is cut there, a longer wide one gets 0. A wide
 * character that the locale does not have counts as "?".
 */
KX_API KXBool16 KXIsThisMyComputerA(const char* name);
KX_API KXBool16 KXIsThisMyComputerW(const char16_t* name);

KX_EXTERN_C_END

#endif
