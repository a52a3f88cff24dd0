# The target AgentClient: the static library of the agent's clients, its headers, and the libcrypto it needs.
#
# The library's headers hold assertions, which stay active in every build. So the target compiles what uses it with
# -UNDEBUG. A project that wants its own assertions off keeps the files that include these headers apart.

include(CMakeFindDependencyMacro)
find_dependency(OpenSSL COMPONENTS Crypto)
include(${CMAKE_CURRENT_LIST_DIR}/AgentClientTargets.cmake)
