// Built and linked without the protections that the check looks for.
int main() { return 0; }
