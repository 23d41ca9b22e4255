#include <cstdio>

int main() {
    std::puts("tavi");
    return 0;
}
