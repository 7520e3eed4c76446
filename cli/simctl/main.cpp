#include "Commands.h"

int main(int argc, char** argv)
{
    return simctl::run(argc, argv);
}
