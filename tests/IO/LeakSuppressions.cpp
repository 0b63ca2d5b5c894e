// What the leak checker shall pass over: x265, which libheif encodes with, keeps its tables.

extern "C" const char* __lsan_default_suppressions() {
    return "leak:libx265.so\n";
}
