# Sourced by what writes its figures into docs/performance.md.
# shellcheck shell=bash
page=$root/docs/performance.md

# put_table SECTION ROWS: the table of a section of the page.
put_table() {
    awk -v section="## $1" -v rows="$2" '
        /^## / { inside = $0 == section }
        inside && /^\|/ { while ((getline line < rows) > 0) print line; next }
        { print }' "$page" >page
    cp page "$page"
}
