// kelvoctl: the command line of the farm-data service.
#include "service/kelvoctl/Run.h"

int main(int argc, char** argv)
{
    return kelvoctl::run(argc, argv);
}
