// Precompiled headers belong to a target: this one is a program, so that they are compiled for one.
int main() { return 0; }
