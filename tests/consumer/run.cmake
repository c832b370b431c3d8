# Installs the build in a folder of its own and builds apps from there, as apps do: one over the test
# kit, and the examples that need a backend and a broker, which only say how they are used.
#   cmake -DBUILD=... -DSOURCE=... -DEXAMPLE=... -DWORK=... -DCXX=... -DPKG_CONFIG=... -P run.cmake

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Status 2 is wrong usage: it has found its libraries.
function(expect_usage program)
  execute_process(COMMAND ${program} RESULT_VARIABLE status ERROR_VARIABLE said)
  if(NOT status EQUAL 2)
    message(FATAL_ERROR "${program} ended with ${status}: ${said}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK})
set(prefix ${WORK}/prefix)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})

# By find_package.
foreach(source ${SOURCE} ${EXAMPLE} ${EXAMPLE}/../evening)
  get_filename_component(name ${source} NAME)
  run(${CMAKE_COMMAND} -S ${source} -B ${WORK}/${name} -DCMAKE_PREFIX_PATH=${prefix}
      -DCMAKE_CXX_COMPILER=${CXX})
  run(${CMAKE_COMMAND} --build ${WORK}/${name})
endforeach()
run(${WORK}/consumer/consumer)
expect_usage(${WORK}/first_hour/first_hour)
expect_usage(${WORK}/evening/evening)

# By pkg-config.
file(GLOB found ${prefix}/lib/pkgconfig ${prefix}/lib/*/pkgconfig)
list(GET found 0 folder)
get_filename_component(libraries ${folder} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${folder})
function(build_by_pkg_config source package)
  execute_process(COMMAND ${PKG_CONFIG} --cflags --libs ${package}
                  OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${CXX} ${source}/main.cpp -o ${WORK}/by_${package} ${flags} -Wl,-rpath,${libraries})
endfunction()
build_by_pkg_config(${SOURCE} zavelo-testing)
run(${WORK}/by_zavelo-testing)
build_by_pkg_config(${EXAMPLE} zavelo-mqtt)
expect_usage(${WORK}/by_zavelo-mqtt)

# What was installed runs from where it stands.
run(${prefix}/bin/zavelo version)
