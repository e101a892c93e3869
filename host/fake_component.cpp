// A component that goes no further than the machine's binding of its conversions: enough entry
// points for a load to reach bInitZKConvFromVM, which records what it was given and answers as
// the test decides. Its tables are empty, so a load that passes the binding stops at them.
#include <cstdint>

namespace {
void* ghMachine = nullptr;
int gnVersion = -1;
int gnVersionCompat = -1;
int gnAnswer = 0;
}  // namespace

extern "C" {
__attribute__((visibility("default"))) int bInitLibrary(void*) { return 1; }
__attribute__((visibility("default"))) void TermLibrary() {}
__attribute__((visibility("default"))) intptr_t Execution(unsigned int, intptr_t) { return 1; }
__attribute__((visibility("default"))) intptr_t InfoComposante(unsigned int, unsigned long) { return 0; }
__attribute__((visibility("default"))) void* pQueryProxy(int) { return nullptr; }

__attribute__((visibility("default"))) int bInitZKConvFromVM(void* hMachine, int nVersion, int nVersionCompat) {
    ghMachine = hMachine;
    gnVersion = nVersion;
    gnVersionCompat = nVersionCompat;
    return gnAnswer;
}

// For the test: the answer to give, and what the last binding received.
__attribute__((visibility("default"))) void FakeSetAnswer(int nAnswer) {
    gnAnswer = nAnswer;
    ghMachine = nullptr;
    gnVersion = gnVersionCompat = -1;
}
__attribute__((visibility("default"))) void* FakeMachine(int* pnVersion, int* pnVersionCompat) {
    *pnVersion = gnVersion;
    *pnVersionCompat = gnVersionCompat;
    return ghMachine;
}
}
