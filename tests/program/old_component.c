/* Stands for an older version of the DLL: there is nothing in it but what its resources say. */
int OldComponent(void) {
  return 0;
}
