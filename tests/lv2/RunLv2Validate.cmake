# lv2_validate on the bundle's description files; fails on any error it reports.
file(GLOB ttl ${BUNDLE}/*.ttl)
execute_process(COMMAND ${VALIDATE} ${ttl} OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE rc)
message("${out}${err}")
if(NOT rc EQUAL 0 OR NOT "${out}${err}" MATCHES "Found 0 errors")
    message(FATAL_ERROR "lv2_validate reported errors")
endif()
