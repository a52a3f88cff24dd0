# The program qxc. Everything but main is in the library QxcCommands. Without its libraries it is left out.

find_package(EXPAT)
find_package(nlohmann_json CONFIG)
set(expat EXPAT::EXPAT)
if(PLUGSETTER_STATIC STREQUAL ALL)
  find_library(PLUGSETTER_LIBEXPAT NAMES libexpat.a)
  mark_as_advanced(PLUGSETTER_LIBEXPAT)
  set(expat ${PLUGSETTER_LIBEXPAT})
endif()
if(NOT EXPAT_FOUND OR NOT expat OR NOT nlohmann_json_FOUND)
  message(WARNING "qxc is not built: it needs expat and nlohmann-json (Debian: libexpat1-dev, nlohmann-json3-dev)")
  return()
endif()

add_library(QxcCommands STATIC
  qxc/CommandLine.cpp
  qxc/LogReader.cpp
  qxc/LogReport.cpp
  qxc/Output.cpp
  qxc/Questions.cpp)
target_link_libraries(QxcCommands PUBLIC AgentClient PRIVATE ${expat} nlohmann_json::nlohmann_json)
product_flags(QxcCommands)

add_executable(qxc qxc/main.cpp)
target_link_libraries(qxc PRIVATE QxcCommands)
product_flags(qxc)
