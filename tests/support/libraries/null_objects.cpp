// Offers what is looked for, and never gives an object.
extern "C" {

void* GetIEventgate() {
    return nullptr;
}
void FreeIEventgate(void**) {}
void* GetIWirelink() {
    return nullptr;
}
}
