# What Doxygen wants otherwise than a code host does, outside of code blocks.
/^```/,/^```/! {
    # Headers and examples have pages of their own. Headings have other anchors, and files that are
    # not Markdown no page, so that links to them go.
    s,]\((\.\./)?(include|examples)/([^)]+)\),](@ref \3),g
    s,]\(([^):#]+\.md)#[^)]*\),](\1),g
    s,(^|[^!])\[([^]]*)]\([[:alnum:]_./#-]*([^d)]|[^m)]d|[^.)]md)\),\1\2,g
    # A percent sign gets lost in front of a word.
    s,%([a-z]),%%\1,g
}
