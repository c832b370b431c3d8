# Installs the packages that the lock file names, unless they are there, and runs the tests:
#   cmake -DSOURCE=… -DWORK=… -DCOMMAND=…/zavelo -P run.cmake
cmake_minimum_required(VERSION 3.25)

find_program(NODE NAMES node nodejs REQUIRED)
find_program(NPM npm REQUIRED)
find_program(CHROMIUM NAMES chromium chromium-browser REQUIRED)

set(packages ${WORK}/packages)
file(SHA256 ${SOURCE}/package-lock.json wanted)
set(installed)
if(EXISTS ${packages}/installed)
  file(READ ${packages}/installed installed)
endif()
if(NOT installed STREQUAL wanted)
  file(COPY ${SOURCE}/package.json ${SOURCE}/package-lock.json DESTINATION ${packages})
  execute_process(COMMAND ${NPM} ci --no-audit --no-fund WORKING_DIRECTORY ${packages}
                  COMMAND_ERROR_IS_FATAL ANY)
  file(WRITE ${packages}/installed ${wanted})
endif()

set(ENV{DASHBOARD_PACKAGES} ${packages})
set(ENV{DASHBOARD_BROWSER} ${CHROMIUM})
set(ENV{DASHBOARD_COMMAND} ${COMMAND})
set(ENV{DASHBOARD_PICTURES} ${WORK}/pictures)
file(MAKE_DIRECTORY ${WORK}/pictures)
file(GLOB tests ${SOURCE}/*.test.js)
execute_process(COMMAND ${NODE} --test --test-reporter=spec ${tests} COMMAND_ERROR_IS_FATAL ANY)
