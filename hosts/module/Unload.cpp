// What the C++ runtime inside the module would leave behind when a host unloads it: the memory that
// it sets aside, 71 KiB with each load, for exceptions thrown when there is none.
#ifdef KELDRA_HAS_RUNTIME_INSIDE

namespace __gnu_cxx {
void __freeres(); // libstdc++'s, which has no header for it
}

namespace {

[[gnu::destructor]] void FreeMemoryOfRuntime()
{
    __gnu_cxx::__freeres();
}

} // namespace

#endif
