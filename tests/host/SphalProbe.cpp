// A vendor library for the loader to find.
extern "C" int sphal_probe() {
    return 1;
}
