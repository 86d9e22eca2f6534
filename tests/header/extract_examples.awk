# SPDX-License-Identifier: Apache-2.0
# Prints the @code blocks of a header as one C source, with the lines where they are found.
/@code/ { inside = 1; printf "#line %d \"%s\"\n", FNR + 1, FILENAME; next }
/@endcode/ { inside = 0; print ""; next }
inside { sub(/^ \* ?/, ""); print }
