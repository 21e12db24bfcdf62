#include "cli/Commands.h"
#include "cli/StandardStreams.h"

int main(int argc, char** argv) {
    quillon::SecureStandardStreams();
    return quillon::CloseStandardOutput(quillon::RunProgram(argc, argv));
}
