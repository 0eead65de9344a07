// The main of every test program: the tests run in a sandbox.
#include <gtest/gtest.h>

#include "sandbox.h"

int main(int argc, char **argv) {
    const std::vector<const char *> command(argv, argv + argc + 1); // with its null pointer
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    if (const int status = enter_sandbox(command); status != 0)
        return status;
    return RUN_ALL_TESTS();
}
