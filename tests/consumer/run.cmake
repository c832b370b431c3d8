# Installs the build in a folder of its own and builds an app from there, as apps do:
#   cmake -DBUILD=... -DSOURCE=... -DWORK=... -DCXX=... -DPKG_CONFIG=... -P run.cmake

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${WORK})
set(prefix ${WORK}/prefix)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${prefix})

# By find_package.
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/build -DCMAKE_PREFIX_PATH=${prefix}
    -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${WORK}/build/consumer)

# By pkg-config.
file(GLOB found ${prefix}/lib/pkgconfig ${prefix}/lib/*/pkgconfig)
list(GET found 0 folder)
get_filename_component(libraries ${folder} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${folder})
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs zavelo-testing
                OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
run(${CXX} ${SOURCE}/main.cpp -o ${WORK}/by_pkg_config ${flags} -Wl,-rpath,${libraries})
run(${WORK}/by_pkg_config)

# What was installed runs from where it stands.
run(${prefix}/bin/zavelo version)
