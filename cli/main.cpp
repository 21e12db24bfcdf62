#include "cli/Commands.h"

int main(int argc, char** argv) {
    return quillon::RunProgram(argc, argv);
}
