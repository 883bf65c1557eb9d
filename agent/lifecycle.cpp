// From the process's arguments to the run: joining and splitting the command, the option
// loop, handing the verbosity and print format to the middleware logger, and run().
#include <cstdio>

#include "agent/kestAgent.h"
#include "qordds/logger.h"

int QORUtil_getKestVerbosityFromUtilVerbosity(int level) {
    // Cumulative: each tool level lets one more kind of middleware entry through, from
    // 1 (fatal and errors, 0x03) to 5 (all information, 0x3F); unknown levels get everything.
    if (level == 0) {
        return DDS_LOG_VERBOSITY_SILENT;
    }
    if (level < 1 || level > 5) {
        level = 5;
    }
    return (2 << level) - 1;
}

bool KestAgent::execute(int argc, const char** argv) {
    char commandLine[COMMAND_BUFFER_LENGTH];
    if (!strcatFromArgv(commandLine, COMMAND_BUFFER_LENGTH, applicationName, argc, argv)) {
        return false;
    }
    return execute(commandLine);
}

bool KestAgent::execute(const char* commandLine) {
    DDSLogger* logger = DDSLogger::get_instance();

    // One spare byte: the tokenizer accepts a title and command that fill the whole length.
    char work[COMMAND_BUFFER_LENGTH + 1];
    char* arguments[MAX_ARGUMENTS];
    bool result = false;
    int count = tokenizeStrIntoArgv(work, COMMAND_BUFFER_LENGTH, arguments, MAX_ARGUMENTS,
                                    applicationName, commandLine);
    if (count != -1 && initialize(count, arguments)) {
        logger->set_verbosity(QORUtil_getKestVerbosityFromUtilVerbosity(verbosity));
        theVerbosity = verbosity;
        logger->set_print_format(logFormat);
        if (verbosity > 1) {
            printSummary();
        }
        result = run();
    }
    DDSLogger::finalize();
    return result;
}

bool KestAgent::initialize(int argc, char** argv) {
    printHeader();
    if (argc <= 0) {
        printUsage();
        return false;
    }
    int index = 1;
    if (argc == 1) {
        return true;
    }
    for (;;) {
        switch (parseArgument(&index, argv, argc)) {
            case PARSE_CONSUMED:
                break;
            case PARSE_NOT_MINE:
                if (theVerbosity >= 1) {
                    std::printf("%s: Unrecognized parameter '%s'\n", applicationName, argv[index]);
                }
                return false;
            case PARSE_WRONG:
                // Options with a value have moved the index to it, so the value is named.
                if (theVerbosity >= 1) {
                    std::printf("%s: Error in parameter '%s'\n", applicationName, argv[index]);
                }
                return false;
            default:
                return false;
        }
        ++index;
        if (index >= argc) {
            return true;
        }
    }
}
