/* Whether somebody watches a stream: what moves on a line is shown on a terminal only. */
#ifndef EXAMPLES_TERMINAL_H
#define EXAMPLES_TERMINAL_H

#include <stdio.h>

#if defined(_WIN32)
#include <io.h>
static inline int IsTerminal(FILE* stream) {
    return _isatty(_fileno(stream));
}
#else
#include <unistd.h>
static inline int IsTerminal(FILE* stream) {
    return isatty(fileno(stream));
}
#endif

#endif
