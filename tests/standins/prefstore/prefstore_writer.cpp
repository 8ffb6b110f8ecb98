// Prints its process number; then writes Test.Writer.<n>, for n from 1 to the count given, into the store of
// the folder given, and prints each number once its write has been acknowledged.
#include <unistd.h>

#include <iostream>
#include <string>

#include "platform/text.h"
#include "standins/prefstore/store.h"

int main(int count, char** arguments) {
    if (count != 3) return 2;
    std::cout << getpid() << std::endl;
    orrery::prefstore::Store store(arguments[1]);
    for (int n = 1; n <= std::stoi(arguments[2]); ++n) {
        const orrery::WideString number = orrery::ToWide(std::to_string(n));
        if (store.WriteValue(u"Test.Writer." + number, number, 0) != 0) return 1;
        std::cout << n << std::endl;
    }
    return 0;
}
