#include "Replay.h"

#include <iostream>

int main(int argc, char** argv)
{
    return RunReplay(argc, argv, std::cout, std::cerr);
}
