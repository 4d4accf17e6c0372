/* Texts that every platform's UTF-16 conversion must treat the same:
 * well-formed non-ASCII, cut-off sequences, stray and never-valid bytes,
 * overlongs, surrogates and values past U+10FFFF. Shared by the C test
 * programs, with their failure counter. */
#ifndef VIREL_TESTS_SAMPLE_TEXTS_H
#define VIREL_TESTS_SAMPLE_TEXTS_H

#include <stdint.h>
#include <stdio.h>

static int failures = 0;

static void expect_nid(uint64_t nid, const char* what) {
  if (nid == 0) {
    fprintf(stderr, "failed: %s\n", what);
    ++failures;
  }
}

static const char* const kTexts[] = {
    "plain ASCII",
    "caf\xC3\xA9 \xE2\x82\xAC 5 \xF0\x9F\x98\x80 \xE4\xB8\xAD\xE6\x96\x87",
    "truncated at the end \xF0\x9F\x98",
    "stray \x80 continuation and \xFF never-valid byte",
    "overlong \xC0\xAF and \xE0\x80\xAF, surrogate \xED\xA0\x80, past max \xF4\x90\x80\x80",
    "cut \xE2\x82 short then ASCII",
    "lead at the end \xE1",
    "",
};
#define TEXT_COUNT (sizeof kTexts / sizeof kTexts[0])

#endif
