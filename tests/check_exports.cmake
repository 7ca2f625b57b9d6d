# Holds the library's dynamic symbols that begin with KX or IKX against the list.
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE symbols
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[A-Z] I?KX[A-Za-z0-9_]*" symbols "${symbols}")
list(TRANSFORM symbols REPLACE "^. " "")
file(STRINGS ${LIST} expected REGEX "^[^#]")

set(missing ${expected})
list(REMOVE_ITEM missing ${symbols})
set(unexpected ${symbols})
list(REMOVE_ITEM unexpected ${expected})
list(LENGTH symbols count)
message(STATUS "${count} exports")
if(missing OR unexpected OR count EQUAL 0)
    message(FATAL_ERROR "not exported: ${missing}\nnot in the list: ${unexpected}")
endif()
