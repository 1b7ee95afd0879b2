/* Lists a compound file as storage_tool does, read by libgsf:  gsf_walk FILE */
#include <gsf/gsf-infile-msole.h>
#include <gsf/gsf-infile.h>
#include <gsf/gsf-input-stdio.h>
#include <gsf/gsf-utils.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static uint32_t crc32_of(const guint8* bytes, gsf_off_t count) {
  uint32_t crc = 0xFFFFFFFF;
  for (gsf_off_t i = 0; i < count; ++i) {
    crc ^= bytes[i];
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320 & (0 - (crc & 1)));
  }
  return ~crc;
}

static void walk(GsfInfile* storage, const char* path) {
  for (int i = 0; i < gsf_infile_num_children(storage); ++i) {
    GsfInput* child = gsf_infile_child_by_index(storage, i);
    if (child == NULL) {
      fprintf(stderr, "child %d of %s cannot be opened\n", i, path);
      exit(1);
    }
    /* Names are UTF-8 here; units from FF80 on are bytes widened by sign extension. */
    char name[200] = "";
    size_t at = 0;
    for (const char* p = gsf_infile_name_by_index(storage, i); *p; p = g_utf8_next_char(p)) {
      if (at + 1 < sizeof name) name[at++] = (char)g_utf8_get_char(p);
    }
    name[at] = 0;
    GString* full = g_string_new(path);
    g_string_append(full, name);
    if (GSF_IS_INFILE(child) && gsf_infile_num_children(GSF_INFILE(child)) >= 0) {
      printf("%s/\n", full->str);
      g_string_append_c(full, '/');
      walk(GSF_INFILE(child), full->str);
    } else {
      const gsf_off_t size = gsf_input_size(child);
      const guint8* bytes = size > 0 ? gsf_input_read(child, (size_t)size, NULL) : NULL;
      if (size > 0 && bytes == NULL) {
        fprintf(stderr, "%s cannot be read\n", full->str);
        exit(1);
      }
      printf("%s %lu %08lx\n", full->str, (unsigned long)size,
             (unsigned long)crc32_of(bytes, size));
    }
    g_string_free(full, TRUE);
    g_object_unref(child);
  }
}

int main(int count, char** arguments) {
  if (count != 2) return 2;
  gsf_init();
  GsfInput* input = gsf_input_stdio_new(arguments[1], NULL);
  GsfInfile* file = input != NULL ? gsf_infile_msole_new(input, NULL) : NULL;
  if (file == NULL) {
    fprintf(stderr, "libgsf cannot open %s\n", arguments[1]);
    return 1;
  }
  walk(file, "");
  g_object_unref(file);
  g_object_unref(input);
  return 0;
}
