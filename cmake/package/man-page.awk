# A help page as a manual page. -v name=velmorant-stitch -v version=0.1.0; what it is for stands in the first line.
# Lines that end with a colon begin a section, indented ones describe an option each, but examples stay as they are.
function escaped(text) {
    gsub(/\\/, "\\e", text)
    gsub(/-/, "\\-", text)
    gsub(/^[.']/, "\\\\\\&&", text)
    return text
}
function section(title) {
    blank = 0
    if (verbatim) print ".fi"
    print ".SH " toupper(title)
    verbatim = title ~ /^Examples?$/
    if (verbatim) print ".nf"
    current = title
}
NR == 1 {
    sub(/\.$/, "")
    sub(/^velmorant /, "")
    printf ".TH %s 1 \"\" \"velmorant %s\" \"User commands\"\n.SH NAME\n%s \\- %s\n", toupper(name), version, name, escaped($0)
    next
}
/^Usage: / {
    section("Synopsis")
    print ".nf"
    usage = 1
    print escaped(substr($0, 8))
    next
}
usage && /^       / { print escaped(substr($0, 8)); next }
usage { print ".fi"; usage = 0 }
/^Exit status: / { section("Exit status"); print escaped(substr($0, 14)); next }
/^[A-Za-z][^:]*:$/ { section(substr($0, 1, length($0) - 1)); next }
verbatim { print $0 == "" ? "" : escaped($0); next }
/^  [^ ]/ {
    line = substr($0, 3)
    at = match(line, /   *[^ ]/)
    if (!at && match(line, /Excludes: --[a-z-]+ [^ ]/)) { # as wide as the column: one blank is left
        at = RSTART + RLENGTH - 2
        RLENGTH = 2
    }
    print ".TP"
    blank = 1
    print ".B " escaped(at ? substr(line, 1, at - 1) : line)
    if (at) print escaped(substr(line, at + RLENGTH - 1))
    next
}
/^   / { blank = 1; sub(/^ +/, ""); print escaped($0); next }
$0 == "" { blank = 1; next }
current == "" || current == "Synopsis" { section("Description") }
{
    if (blank) print ".PP"
    blank = 0
    print escaped($0)
}
END {
    if (verbatim) print ".fi"
    print ".SH SEE ALSO"
    print name == "velmorant" ? others : ".BR velmorant (1)"
}
