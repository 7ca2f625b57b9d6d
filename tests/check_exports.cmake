# Holds the library's exports against the list. What has no KX or IKX in front counts on Windows
# only, where nothing but the library can have put it there.
if(SYSTEM STREQUAL windows)
    execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE table
                    COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX REPLACE ".*\\[Ordinal/Name Pointer\\] Table" "" table "${table}")
    string(REGEX MATCHALL "\t\\[ *[0-9]+\\] [^\r\n]+" symbols "${table}")
    list(TRANSFORM symbols REPLACE "\t\\[ *[0-9]+\\] " "")
else()
    execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE table
                    COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "[A-Z] I?KX[A-Za-z0-9_]*" symbols "${table}")
    list(TRANSFORM symbols REPLACE "^. " "")
endif()
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
