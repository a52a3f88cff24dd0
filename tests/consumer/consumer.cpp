// Another program of the agent: tells whether a configuration file is in order.
#include "Mis/TaskData.h"

#ifdef NDEBUG
#error "the assertions of the library's headers are switched off"
#endif

int main(int argc, char** argv) {
    VTaskData configuration("", true);
    return argc == 2 && configuration.LoadFile(argv[1], false) == 1 ? 0 : 1;
}
