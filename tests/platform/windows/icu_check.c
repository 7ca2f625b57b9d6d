/* Whether the ICU that was built for this system works there: data, converters, text files. */
#include <stdio.h>
#include <unicode/uclean.h>
#include <unicode/ucnv.h>
#include <unicode/ustdio.h>
#include <unicode/ustring.h>

static int TextGoesThroughAFile(const char* path) {
    static const UChar text[] = {'c', 'a', 'f', 0xE9, '\n', 0};
    UChar read[16];
    UFILE* file = u_fopen(path, "w", NULL, "UTF-16");
    if (file == NULL) return 0;
    u_fputs(text, file);
    u_fclose(file);
    file = u_fopen(path, "r", NULL, "UTF-16");
    if (file == NULL) return 0;
    const int same = u_fgets(read, 16, file) != NULL && u_strncmp(text, read, 4) == 0;
    u_fclose(file);
    remove(path);
    return same;
}

int main(int argc, char** argv) {
    if (argc != 2) return 64;
    UErrorCode status = U_ZERO_ERROR;
    u_init(&status);
    printf("u_init: %s\n", u_errorName(status));
    if (U_FAILURE(status)) return 1;
    const int converters = ucnv_countAvailable();
    printf("%d converters\n", converters);
    if (converters < 200) return 2;
    return TextGoesThroughAFile(argv[1]) ? 0 : 3;
}
