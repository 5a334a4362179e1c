// Exports another name than the one that a host looks for.

extern "C" int this_other_plugin;
int this_other_plugin = 0;
