namespace ld {}
