/* Writes a small mailbox and reports where it went. */
#include <stdio.h>

#include "virel.h"

int main(int argc, char** argv) {
  const char* path = argc > 1 ? argv[1] : "demo/sample.pst";
  virel_writer* writer = virel_create_writer(path);
  if (writer == NULL) {
    fprintf(stderr, "cannot create %s\n", path);
    return 1;
  }
  virel_close(writer);
  virel_destroy_writer(writer);

  FILE* f = fopen(path, "rb");
  long size = -1;
  if (f != NULL) {
    fseek(f, 0, SEEK_END);
    size = ftell(f);
    fclose(f);
  }
  printf("wrote %s (%ld bytes)\n", path, size);
  return size > 0 ? 0 : 1;
}
