#!/usr/bin/env bash
# Checks the files shipped with the editor: every example validates against the schema of its standard
# (the one with notes must not: it carries what the editor keeps and the schema refuses), each schema
# uses every construct the editor reads from a schema and refuses what it must, the configuration
# folder's examples are copies of the examples, and the files the simulated boards list exist, validate
# and hold the mode they name. Needs only bash, grep, sed, awk and xmllint. Prints each failure; exits 1
# when there was one.
set -uo pipefail
cd "${1:-$(dirname "$0")/..}" || exit 2

cl=config/Vrm/LUMEX-CL.xsd
cxp=config/Pld/LUMEX-CXP.xsd
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
xsns='http://www.w3.org/2001/XMLSchema'
# Runs XPath expressions on a file, one result line each (the shell's own chatter removed).
xpath() {
    local file=$1; shift
    { echo "setns xs=$xsns"; for e in "$@"; do echo "xpath $e"; done; } |
        xmllint --shell --nonet "$file" 2>/dev/null | grep -o 'Object is a [^:]*: .*$\|Object is a [^:]*:$' |
        sed 's/^Object is a [^:]*: *//'
}
validates() { xmllint --noout --nonet --schema "$2" "$1" >/dev/null 2>&1; echo $?; }
schema_of() { [ "$(xpath "$1" 'string(/quarnel_config/camera/features/standard)')" = CoaXPress ] && echo $cxp || echo $cl; }

# Every example against its own schema; 3 is xmllint's status for a document its schema refuses.
for f in examples/*.lumex; do
    want=0
    [ "$f" = examples/Example_CL_with_notes.lumex ] && want=3
    [ "$(validates "$f" "$(schema_of "$f")")" = $want ] || fail "$f: xmllint status not $want"
done
[ "$(validates examples/Example_CL.lumex $cxp)" = 3 ] || fail "Camera Link example valid as CoaXPress"
[ "$(validates examples/Example_CXP.lumex $cl)" = 3 ] || fail "CoaXPress example valid as Camera Link"

# Both standards are named in the camera's attribute and in its fixed feature.
for pair in "examples/Example_CL.lumex CameraLink" "examples/Example_CXP.lumex CoaXPress"; do
    set -- $pair
    [ "$(xpath "$1" 'string(/quarnel_config/camera/@standard)' \
        'string(/quarnel_config/camera/features/standard)' | tr '\n' ' ')" = "$2 $2 " ] ||
        fail "$1: standard is not $2 twice"
done

# Each schema uses every construct the editor reads from a schema.
frame="@name='quarnel_config' or @name='camera' or @name='modes' or @name='mode'"
inner="xs:element[xs:complexType[xs:sequence or xs:all or xs:attribute]]"
constructs=(
    "anonymous category|//xs:element[@name='mode']/xs:complexType/*/$inner"
    "element of a named type|//xs:element[@type and not(starts-with(@type,'xs:'))]"
    "optional attribute|//xs:attribute[@use='optional']" "required attribute|//xs:attribute[@use='required']"
    "attribute without use|//xs:attribute[not(@use)]"
    "simple content with attributes|//xs:simpleContent/xs:extension/xs:attribute"
    "documented enumeration|//xs:enumeration/xs:annotation/xs:documentation"
    "documented element|//xs:element/xs:annotation/xs:documentation"
    "documented attribute|//xs:attribute/xs:annotation/xs:documentation"
    "pattern|//xs:pattern" "maxLength|//xs:maxLength" "minLength 0|//xs:minLength[@value='0']"
    "minInclusive|//xs:minInclusive" "maxInclusive|//xs:maxInclusive" "fractionDigits|//xs:fractionDigits"
    "default value|//*[@default]" "fixed value|//*[@fixed]"
    "repeated simple feature|//xs:element[starts-with(@type,'xs:') and @maxOccurs and @maxOccurs!='1']"
    "feature list|//$inner[not(@maxOccurs) or @maxOccurs='1'][ancestor::xs:element[1][not($frame)]]"
    "feature table|//$inner[@maxOccurs='unbounded' or @maxOccurs>1][ancestor::xs:element[1][not($frame)]]"
)
for t in string boolean integer positiveInteger negativeInteger nonNegativeInteger nonPositiveInteger long \
    unsignedLong int unsignedInt short unsignedShort byte unsignedByte decimal float double; do
    constructs+=("xs:$t|//*[@type='xs:$t' or @base='xs:$t']")
done
for schema in $cl $cxp; do
    exprs=()
    for c in "${constructs[@]}"; do exprs+=("count(${c#*|})"); done
    mapfile -t counts < <(xpath $schema "${exprs[@]}")
    for i in "${!constructs[@]}"; do
        [ "${counts[$i]:-0}" -gt 0 ] 2>/dev/null || fail "$schema: no ${constructs[$i]%%|*}"
    done
done

# Each rule broken once in a copy of an example: the copy must fail to validate.
tmp=$(mktemp -d) && trap 'rm -rf "$tmp"' EXIT
while IFS='|' read -r file schema from to; do
    [ "$(grep -oF -- "$from" "$file" | wc -l)" = 1 ] || { fail "$file: \"$from\" not found once"; continue; }
    awk -v from="$from" -v to="$to" '{ i = index($0, from); if (i) $0 = substr($0, 1, i - 1) to substr($0, i + length(from)); print }' \
        "$file" >"$tmp/broken.lumex"
    out=$(xmllint --noout --nonet --schema "$schema" "$tmp/broken.lumex" 2>&1)
    [[ $out == *"validity error"* ]] || fail "$file: valid with $to"
done <<EOF
examples/Example_CL.lumex|$cl|<mode name="Fast">|<mode name="Default">
examples/Example_CXP.lumex|$cxp|<mode name="Slow">|<mode name="Slow@1">
examples/Example_CXP.lumex|$cxp|<mode name="Slow">|<mode>
examples/Example_CL.lumex|$cl|<camera standard="CameraLink">|<camera>
examples/Example_CL.lumex|$cl|<data>0x000000C8</data>|<data>200</data>
examples/Example_CXP.lumex|$cxp|<address>Encoder0Filter</address>|<address>Encoder0 Filter</address>
examples/Example_CXP.lumex|$cxp|<address>0x6000</address>|<address>24576</address>
examples/Example_CL.lumex|$cl|<ExposureTime>1500</ExposureTime>|<ExposureTime>0.5</ExposureTime>
examples/Example_CL.lumex|$cl|<Gamma>0.45</Gamma>|<Gamma>0.455</Gamma>
examples/Example_CXP.lumex|$cxp|<LinkSpeed>CXP-6</LinkSpeed>|<LinkSpeed>CXP-7</LinkSpeed>
examples/Example_CL.lumex|$cl|<Entry Index="64"|<Entry Index="16"
examples/Example_CXP.lumex|$cxp|Width="800"/>|Width="0"/>
examples/Example_CXP.lumex|$cxp|<standard>CoaXPress</standard>|<standard>CameraLink</standard>
EOF

cmp -s examples/Example_CL.lumex config/Vrm/Example_CL.lumex || fail "config/Vrm/Example_CL.lumex differs"
cmp -s examples/Example_CXP.lumex config/Pld/Example_CXP.lumex || fail "config/Pld/Example_CXP.lumex differs"

# The boards list files as mode@file or file, in the folder of the board's standard.
entries=$(awk -F'"' '/"kind":/ { kind = $4 } /"QNCamList":/ {
    n = split($0, parts, "\""); for (i = 6; i < n; i += 2) print kind, parts[i] }' config/SimBoards.json)
[ "$(echo "$entries" | grep -c .)" -ge 4 ] || fail "config/SimBoards.json lists fewer than 4 files"
while read -r kind entry; do
    [ "$kind" = CoaXPress ] && { dir=config/Pld; schema=$cxp; } || { dir=config/Vrm; schema=$cl; }
    file=$dir/${entry#*@}
    [ -f "$file" ] || { fail "$entry: no $file"; continue; }
    [ "$(validates "$file" $schema)" = 0 ] || fail "$file: invalid"
    modes=$(xpath "$file" "count(/quarnel_config/camera/modes/mode)")
    [ "${modes:-0}" -gt 0 ] || fail "$file: no modes"
    [[ $entry != *@* ]] || [ "$(xpath "$file" "count(//modes/mode[@name='${entry%%@*}'])")" = 1 ] ||
        fail "$file: no mode ${entry%%@*}"
done <<<"$entries"

[ $failures = 0 ] && echo "shipped files: all checks passed"
[ $failures = 0 ]
