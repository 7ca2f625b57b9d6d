/*
 * The options of a command line, in one way for all programs.
 *
 * Every option has a name, which one dash or two introduce: "-output" is "--output". A name may be
 * cut short to what no other record's name begins with. An argument stands behind "=" or is the
 * next word. "--" ends the options; "-" alone is an operand. Operands may stand between options:
 * they are moved behind them, unless the environment variable POSIXLY_CORRECT exists, which makes
 * the first operand the end of the options.
 *
 *     static const KXOptionRecord options[] = {
 *         {"output", KX_OPTION_ARGUMENT, 'o'},
 *         {"verbose", KX_OPTION_NO_ARGUMENT, 'v'},
 *         {NULL, 0, 0},
 *     };
 *
 *     while ((option = KXGetOption(argc, argv, options, NULL)) != KX_OPTION_END) {
 *         if (option == KX_OPTION_ERROR) return 2;
 *         if (option == 'o') output = KXGetOptionArgument;
 *         if (option == 'v') verbose = 1;
 *     }
 *     for (i = KXGetOptionIndex; i < argc; ++i) Take(argv[i]);
 *
 * The parser's state is the process's, and nothing locks it: one thread parses, and one vector at a
 * time.
 */
#ifndef KXCORE7_OPTION_H
#define KXCORE7_OPTION_H

#include "export.h"
#include "types.h"

KX_EXTERN_C_BEGIN

/*
 * Kinds of options. One of any other kind takes no argument from the next word, and what "=" gives
 * it is accepted and dropped.
 */
#define KX_OPTION_NO_ARGUMENT 0
#define KX_OPTION_ARGUMENT 1

/* What KXGetOption returns beside the values of options. */
#define KX_OPTION_END (-1)
#define KX_OPTION_ERROR 63 /* '?' */

/* An option. A table of them ends with a record whose name is null. */
typedef struct KXOptionRecord {
    const char* name;     /* without dashes; case counts */
    int32_t argumentKind; /* KX_OPTION_* */
    int32_t value;        /* what KXGetOption returns for it; not KX_OPTION_END */
} KXOptionRecord;

/*
 * The value of the next option of argv, which is argc words and a null behind them; argv[0] is none
 * of them. KX_OPTION_END when there are no more: KXGetOptionIndex is that of the first operand
 * then, and all operands are behind the options, in the order in which they were. Until then, words
 * are moved now and then, never copied.
 *
 * KX_OPTION_ERROR for a word that is no option of the table, or an option with an argument too many
 * or too few: a message is on the standard error, KXGetOptionOption tells what was wrong, and the
 * next call goes on with the next word. Without a table, options null, every letter of such a word
 * is an error.
 *
 * The position of the option's record in the table is stored in index, unless that is null; an
 * error stores nothing.
 *
 * Before another vector, or the same once more, set KXGetOptionReset to 1 or KXGetOptionIndex to 0.
 */
KX_API int KXGetOption(int argc, char** argv, const KXOptionRecord* options, int* index);

/*
 * The parser's state. A program reads these variables, and writes those that it wants otherwise.
 */

/* The option's argument, which is a part of argv; null if it has none. */
KX_API extern char* KXGetOptionArgument;
/* Whether errors are printed; at first they are. */
KX_API extern int32_t KXGetOptionError;
/* Index of the next word to look at; at first 1. */
KX_API extern int32_t KXGetOptionIndex;
/* After an error: the value of the option that has an argument too many or too few, 0 for a name
 * that the table lacks or has more than once, and without a table the letter. */
KX_API extern int32_t KXGetOptionOption;
/* Set to nonzero, it makes the next call begin anew, with the word at KXGetOptionIndex. */
KX_API extern int32_t KXGetOptionReset;

/*
 * What is printed for an error: a format of printf, read whenever it is used. A program may put one
 * of its own in the place of each, with the same arguments or fewer. For null an empty line is
 * printed.
 */

/* A letter that lacks its argument; the letter (%c). No option that has a name comes to this. */
KX_API extern const char* KXGetOptionMsgCharacterRequiresArgument;
/* An option without a table, where POSIXLY_CORRECT exists; its letter (%c). */
KX_API extern const char* KXGetOptionMsgIllegal;
/* The same, where it does not. */
KX_API extern const char* KXGetOptionMsgInvalid;
/* An argument is missing; the dashes, the word behind them (%s%s). */
KX_API extern const char* KXGetOptionMsgStringRequiresArgument;
/* A name cut too short; the dashes, the name's length, the name (%s%.*s). */
KX_API extern const char* KXGetOptionMsgAmbiguous;
/* An argument for an option that takes none; the dashes, the name's length, the name (%s%.*s). */
KX_API extern const char* KXGetOptionMsgNoArgumentAllowed;
/* A name that the table lacks; the dashes, the word behind them (%s%s). */
KX_API extern const char* KXGetOptionMsgUnrecognized;

KX_EXTERN_C_END

#endif
