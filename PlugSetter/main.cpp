#include "PlugSetter/Run.h"

int main(int argc, char** argv) {
    return runPlugSetter(argc, argv);
}
