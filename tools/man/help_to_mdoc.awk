# SPDX-License-Identifier: Apache-2.0
# PROGRAM --help | awk -v name=PROGRAM[-VERB] -v date="Month D, YYYY" -v also="NAME SECTION, ..." -f help_to_mdoc.awk
#
# Writes a manual page from the help of a program. The help has a summary, a line "Usage: ...", and parts whose first line ends
# with a colon. In a part a line that is indented by two blanks has a term, a gap and a description; a line that is indented
# further continues the description. Examples, and notes that follow them, are copied line by line.

function escape(text)
{
    gsub(/\\/, "\\e", text)
    gsub(/-/, "\\-", text)
    gsub(/'/, "\\(aq", text)
    if (text ~ /^\./)
        text = "\\&" text
    return text
}

function trim(text)
{
    sub(/^ +/, "", text)
    sub(/ +$/, "", text)
    return text
}

# Prints a text: its first letter is capital, it ends with a stop, and each sentence begins a line of at most 78 characters.
function print_text(text,    words, count, i, out)
{
    text = toupper(substr(text, 1, 1)) substr(text, 2)
    text = escape(text ~ /[.!?]$/ ? text : text ".")
    count = split(text, words, " ")
    out = ""
    for (i = 1; i <= count; ++i) {
        if (out != "" && length(out) + length(words[i]) > 77) {
            print out
            out = ""
        }
        out = out (out == "" ? "" : " ") words[i]
        if (words[i] ~ /[a-z)][.!?]$/) {
            print out
            out = ""
        }
    }
    if (out != "")
        print out
}

# Prints a term of a list without what the command line parser adds to it: "N:POSITIVE", "FILE TEXT REQUIRED".
function print_term(text)
{
    sub(/:(FLOAT|POSITIVE|INT|UINT).*$/, "", text)
    sub(/ TEXT( REQUIRED)?$/, "", text)
    sub(/^-h,/, "-h, ", text)
    print ".It Cm " escape(text) "\\&"
}

# The column of the descriptions in a part: where the text begins after the first gap of two blanks or more.
function description_column(    i)
{
    for (i = 1; i <= lines; ++i)
        if (match(line[i], /^  [^ ].*[^ ]?   */) && match(substr(line[i], 3), /   *[^ ]/))
            return 3 + RSTART + RLENGTH - 2
    return 0
}

function flush_entry()
{
    if (term == "")
        return
    print_term(term)
    print_text(trim(description))
    term = description = ""
}

# Whether a description begins at the column. A long term reaches up to it with a single blank, and its description is on the
# next line.
function has_gap(text, column, next_line)
{
    return substr(text, column - 2, 2) == "  " || (substr(text, column - 1, 1) == " " && next_line !~ /^   /)
}

# A part with terms and descriptions.
function print_list(    i, column)
{
    column = description_column()
    print ".Bl -tag -width Ds"
    for (i = 1; i <= lines; ++i) {
        if (line[i] ~ /^   /) {
            description = description " " trim(line[i])
            continue
        }
        flush_entry()
        if (column && length(line[i]) >= column && has_gap(line[i], column, line[i + 1])) {
            term = trim(substr(line[i], 1, column - 1))
            description = substr(line[i], column)
        } else
            term = trim(line[i])
    }
    flush_entry()
    print ".El"
}

function print_part()
{
    while (lines > 0 && line[lines] == "")
        --lines
    if (lines > 0) {
        print ".Sh " toupper(title)
        print_list()
    }
    lines = 0
}

function print_literally(heading, count, text,    i)
{
    if (count == 0)
        return
    print ".Sh " heading
    print ".Bd -literal"
    for (i = 1; i <= count; ++i)
        print escape(text[i])
    print ".Ed"
}

function print_see_also(    count, pages, i, parts)
{
    print ".Sh SEE ALSO"
    count = split(also, pages, ", ")
    for (i = 1; i <= count; ++i) {
        split(pages[i], parts, " ")
        print ".Xr " parts[1] " " parts[2] (i < count ? " ," : "")
    }
}

/^Usage: / { usage = substr($0, 8); in_summary = 1; next }
/^Exit status: / { exit_status = substr($0, 14); next }
/^'korvanectl help VERB'/ { next }
/^[A-Z][A-Za-z ]*:$/ {
    if (!started) {
        started = 1
        print_head()
    }
    print_part()
    title = substr($0, 1, length($0) - 1)
    next
}
title == "Examples" && /^[^ ]/ { in_notes = 1 }
in_notes { note[++notes] = $0; next }
title == "Examples" && $0 != "" { example[++examples] = substr($0, 3); next }
title != "" { line[++lines] = $0; next }
$0 != "" { summary = summary (summary == "" ? "" : " ") $0 }

# The first sentence of the summary is the one-line description.
function print_head(    first)
{
    first = summary
    sub(/[.:;] .*/, "", first)
    sub(/\.$/, "", first)
    print ".\\\" SPDX-License-Identifier: Apache-2.0"
    print ".\\\" Written by ./dev docs from the help of the program."
    print ".Dd " date
    print ".Dt " toupper(name) " 1"
    print ".Os"
    print ".Sh NAME"
    print ".Nm " name
    print ".Nd " escape(tolower(substr(first, 1, 1)) substr(first, 2))
    print ".Sh SYNOPSIS"
    print ".Li " escape(usage) "\\&"
    print ".Sh DESCRIPTION"
    print_text(summary)
}

END {
    print_part()
    print_literally("NOTES", notes, note)
    if (exit_status != "") {
        print ".Sh EXIT STATUS"
        print_text(exit_status)
    }
    print_literally("EXAMPLES", examples, example)
    print_see_also()
}
