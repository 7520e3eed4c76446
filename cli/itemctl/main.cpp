#include "Commands.h"

int main(int argc, char** argv)
{
    return itemctl::run(argc, argv);
}
