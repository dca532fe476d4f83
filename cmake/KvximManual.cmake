# cmake -DKVXIM=<kvxim> -DHELP2MAN=<help2man> -DOUTPUT=<kvxim.1> -P KvximManual.cmake
# Writes kvxim's manual page from its help texts: the program's own, then each command's.
execute_process(COMMAND ${KVXIM} --help OUTPUT_VARIABLE help)
string(REGEX MATCH "Subcommands:\n(.*)" listing "${help}")
string(REGEX MATCHALL "\n  ([a-z]+)" names "\n${CMAKE_MATCH_1}")
set(include_text "[COMMANDS]\n")
foreach(entry IN LISTS names)
  string(STRIP "${entry}" name)
  execute_process(COMMAND ${KVXIM} ${name} --help OUTPUT_VARIABLE command_help)
  string(APPEND include_text ".SS \"kvxim ${name}\"\n.nf\n${command_help}.fi\n")
endforeach()
file(WRITE ${OUTPUT}.include "${include_text}")
execute_process(COMMAND ${HELP2MAN} --no-info --no-discard-stderr --include ${OUTPUT}.include
                        --name "reference host of the injection-moulding rule module" --output ${OUTPUT} ${KVXIM}
                RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "help2man failed for ${KVXIM}")
endif()
