# SPDX-License-Identifier: Apache-2.0
# Run by ctest with the variables that CMakeLists.txt sets.
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

if(TOOLCHAIN)
  set(ENV{CMAKE_TOOLCHAIN_FILE} ${TOOLCHAIN})
endif()
set(flags "-Wall -Wextra -Werror")
if(SANITIZE)
  string(APPEND flags " -fsanitize=${SANITIZE} -fno-sanitize=vptr")
endif()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix} --component Development)

run(${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${prefix}
  -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_FLAGS=${flags})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${EMULATOR} ${WORK_DIR}/build/outside)

if(NOT PKG_CONFIG)
  message(FATAL_ERROR "pkg-config is not installed")
endif()
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBRARY_DIR}/pkgconfig)
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs orvel-flv
  OUTPUT_VARIABLE package OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(arguments UNIX_COMMAND "${flags} ${SOURCE_DIR}/main.cpp ${package}")
run(${COMPILER} ${arguments} -Wl,-rpath,${prefix}/${LIBRARY_DIR} -o ${WORK_DIR}/outside)
run(${EMULATOR} ${WORK_DIR}/outside)
