# cmake -P: installs BUILD_DIR into WORK_DIR/prefix, builds client.c with pkg-config and with
# find_package, and runs both clients and the installed tool, each of which must report the
# installed library as the one it loaded.
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    list(JOIN ARGN " " cmd)
    message(FATAL_ERROR "${cmd}\nexit ${rc}\n${out}${err}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()

# Loaded from the prefix, not from the build tree's copy.
function(expect_installed_library)
  string(REGEX MATCH "library +([^\n]+)" line "${out}")
  file(REAL_PATH "${CMAKE_MATCH_1}" loaded)
  file(REAL_PATH ${prefix}/${LIBDIR}/libzephplay.so installed)
  if(NOT loaded STREQUAL installed)
    message(FATAL_ERROR "not the installed library:\n${out}")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
run(${PKG_CONFIG} --cflags --libs zephplay)
separate_arguments(flags UNIX_COMMAND "${out}")
run(${CC} -std=c99 -Werror ${SOURCE_DIR}/client.c ${flags} -o ${WORK_DIR}/client_pc)
run(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${prefix}/${LIBDIR} ${WORK_DIR}/client_pc)
expect_installed_library()

run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/consumer -B ${WORK_DIR}/consumer -DCMAKE_C_COMPILER=${CC}
    -DCMAKE_PREFIX_PATH=${prefix} -DCLIENT_SOURCE=${SOURCE_DIR}/client.c)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/consumer)
run(${WORK_DIR}/consumer/client)
expect_installed_library()

run(${prefix}/${BINDIR}/zephplay)
expect_installed_library()
