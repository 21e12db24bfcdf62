// Crashes. A run of the tests in which that passes for success is worth nothing.
int main() {
    volatile int* const nowhere = nullptr;
    return *nowhere;
}
