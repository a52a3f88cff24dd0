# The target AgentClient::AgentClient, also as AgentClient: the static library of the agent's clients, its headers, and the
# libcrypto it needs. docs/library.md describes its use.

include(CMakeFindDependencyMacro)
find_dependency(OpenSSL COMPONENTS Crypto)
include(${CMAKE_CURRENT_LIST_DIR}/AgentClientTargets.cmake)
if(NOT TARGET AgentClient)
  add_library(AgentClient ALIAS AgentClient::AgentClient)
endif()
