#include "qxc/CommandLine.h"

int main(int argc, char** argv) {
    return runQxc(argc, argv);
}
