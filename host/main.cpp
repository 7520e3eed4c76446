#include "Launcher.h"

int main(int argc, char** argv)
{
    return host::launch(argc, argv);
}
