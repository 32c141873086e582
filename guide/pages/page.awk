# Makes a page of the guide of what cmark-gfm made of a document: headings become places to go to, documents' links
# become pages' links, and the page gets its head.
# -v up=../   the way from the page to the guide's folder; empty for a page in that folder

function plain(text)
{
    gsub(/<[^>]*>/, "", text)
    return text
}

# The name that links use for a heading, as code hosting sites make it.
function place(heading)
{
    heading = tolower(plain(heading))
    gsub(/&[a-z]+;/, "", heading)
    gsub(/[^a-z0-9 _-]/, "", heading)
    gsub(/ /, "-", heading)
    return heading
}

# Documents and examples are pages here; what else is linked stays what it is.
function page_of(way)
{
    if (way ~ /^[a-z]+:/ || way ~ /^#/ || way ~ /\.(html|css|png|svg)(#|$)/) return way
    if (sub(/\.md$/, ".html", way) || sub(/\.md#/, ".html#", way)) return way
    return way ".html"
}

function with_links(line,    rest, way)
{
    rest = ""
    while (match(line, /href="[^"]*"/)) {
        way = substr(line, RSTART + 6, RLENGTH - 7)
        rest = rest substr(line, 1, RSTART + 5) page_of(way) "\""
        line = substr(line, RSTART + RLENGTH)
    }
    return rest line
}

# Of each picture there is one of a dark desktop.
function with_dark_picture(line,    image, dark)
{
    if (!match(line, /<img src="[^"]*images\/[^>]*>/)) return line
    image = substr(line, RSTART, RLENGTH)
    dark = image
    sub(/^<img src="/, "", dark)
    sub(/".*$/, "", dark)
    sub(/images\//, "images/dark/", dark)
    return substr(line, 1, RSTART - 1) "<picture><source srcset=\"" dark "\" " \
        "media=\"(prefers-color-scheme: dark)\" />" image "</picture>" substr(line, RSTART + RLENGTH)
}

/^<h[1-6]>/ {
    level = substr($0, 3, 1)
    heading = substr($0, 5, length($0) - 9)
    if (level == 1 && title == "") title = plain(heading)
    if (level == 2) contents[++chapters] = "<li><a href=\"#" place(heading) "\">" heading "</a></li>"
    $0 = "<h" level " id=\"" place(heading) "\">" heading "</h" level ">"
}

# An example ends where its text ends: here a line end would count as a line.
/^<\/code><\/pre>/ { lines[count] = lines[count] $0; next }

{ lines[++count] = with_dark_picture(with_links($0)) }

END {
    if (title == "") exit 1
    print "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\" />"
    print "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\" />"
    print "<title>" title "</title>\n<link rel=\"stylesheet\" href=\"" up "guide.css\" />\n</head>\n<body>"
    print "<p class=\"way\"><a href=\"" up "user-guide.html\">User's guide</a> &nbsp; <a href=\"" up \
        "scripting.html\">Scripts</a> &nbsp; <a href=\"" up "server.html\">Server</a></p>"
    for (i = 1; i <= count; ++i) {
        print lines[i]
        if (lines[i] !~ /^<h1/ || chapters < 4) continue
        print "<ul class=\"contents\">"
        for (chapter = 1; chapter <= chapters; ++chapter) print contents[chapter]
        print "</ul>"
        chapters = 0
    }
    print "</body>\n</html>"
}
