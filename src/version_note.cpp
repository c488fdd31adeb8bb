// The version of the library as an ELF note: a program can read it in a library that it has loaded, a person with readelf, and
// the library exports nothing for it.
#include "eclipse_int/version.h"

// In assembler, since a sanitizer would put its own bytes between a variable and the next note.
__asm__(
    ".pushsection .note.eclipse_int, \"a\", %note\n"
    ".balign 4\n"
    ".long 2f - 1f, 4f - 3f, 1\n"  // the sizes of the owner and of the version, and the kind of note
    "1: .asciz \"eclipse_int\"\n"
    "2: .balign 4\n"
    "3: .asciz \"" ECLIPSE_INT_VERSION
    "\"\n"
    "4: .balign 4\n"
    ".popsection\n");
