// kelvoctl: the command line of the farm-data service.
#include "service/kelvoctl/CommandLine.h"

int main(int argc, char** argv)
{
    return kelvoctl::run(argc, argv);
}
