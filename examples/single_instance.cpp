// A program that runs once at a time, and notices when its last run has crashed. It "works" until a line is entered: an
// empty one is its proper end, "crash" is not.
#include <velmora/velmora.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: single_instance FOLDER/\n");
        return 2;
    }
    RunDetector detector(argv[1], "single_instance.lock");
    // Ask first: a lock empties the file, and with it goes the sign of a crash.
    switch (detector.getState()) {
        case RunDetector::Running:
            utf8printf("It is running already.\n");
            return 1;
        case RunDetector::Abandoned:
            utf8printf("The last run has crashed; its work can be restored.\n");
            break;
        case RunDetector::NotRunning:
            utf8printf("The last run ended properly.\n");
            break;
    }
    if (!detector.lock()) {
        utf8printf("Another run was faster.\n");
        return 1;
    }
    utf8printf("Working.\n");
    std::fflush(stdout);

    char line[100];
    if (std::fgets(line, sizeof line, stdin) && std::strncmp(line, "crash", 5) == 0) std::_Exit(3);
    // The destructor gives the file up.
}
