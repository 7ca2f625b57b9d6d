# Locales for the tests, whatever the machine has: a folder of each, made by localedef.
find_program(KXCORE7_LOCALEDEF localedef PATHS /usr/sbin REQUIRED)
set(test_locales ${CMAKE_CURRENT_BINARY_DIR}/locales)
file(MAKE_DIRECTORY ${test_locales})

# A locale of the name, from the source of that language in a character set.
function(add_test_locale name source charset)
    set(made ${test_locales}/${name}/LC_CTYPE)
    add_custom_command(OUTPUT ${made}
        COMMAND ${KXCORE7_LOCALEDEF} --quiet --no-archive -i ${source} -f ${charset}
                ${test_locales}/${name})
    set(locale_files ${locale_files} ${made} PARENT_SCOPE)
endfunction()

add_test_locale(tr_TR.UTF-8 tr_TR UTF-8)
add_test_locale(tr_TR.ISO-8859-9 tr_TR ISO-8859-9)
add_test_locale(de_AT.ISO-8859-15 de_AT ISO-8859-15)
add_test_locale(ja_JP.EUC-JP ja_JP EUC-JP)
add_test_locale(ru_RU.KOI8-R ru_RU KOI8-R)
add_test_locale(eo.UTF-8 eo UTF-8)
add_test_locale(de_DE@euro de_DE@euro ISO-8859-15)
add_test_locale(de_DE.UTF-8@euro de_DE@euro UTF-8)
add_custom_target(kxtest_locales DEPENDS ${locale_files})
