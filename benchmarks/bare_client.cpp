// bare_client URI DEVICE : stays connected until its standard input ends.
#include <iostream>
#include <string>

#include "benchmarks/bare_receiver.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: bare_client URI DEVICE\n";
        return 2;
    }
    bench::LimitPool();
    const bench::BareReceiver receiver(argv[1], argv[2], bench::Taking::Directly, [] {});
    std::cout << "connected" << std::endl;
    for (std::string line; std::getline(std::cin, line);) {
    }
    return 0;
}
