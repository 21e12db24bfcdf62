# Writes the manual pages and the shells' completion that the program PROGRAM prints into FOLDER:
# one page for the program and one for each of its commands.
function(print file)
    execute_process(COMMAND ${PROGRAM} ${ARGN} OUTPUT_VARIABLE text RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${PROGRAM} ${ARGN} ended with ${result}")
    endif()
    file(WRITE ${FOLDER}/${file} "${text}")
endfunction()

print(bash/quillon completion bash)
print(zsh/_quillon completion zsh)
print(fish/quillon.fish completion fish)
print(man1/quillon.1 help --man)
# The page of the program lists the commands, each behind a ".TP".
file(STRINGS ${FOLDER}/man1/quillon.1 lines REGEX "^\\\\fB[a-z]+\\\\fR$")
list(LENGTH lines count)
if(count LESS 10)
    message(FATAL_ERROR "the manual lists no commands")
endif()
foreach(line ${lines})
    string(REGEX REPLACE "^.fB([a-z]+).fR$" "\\1" command "${line}")
    print(man1/quillon-${command}.1 help ${command} --man)
endforeach()
