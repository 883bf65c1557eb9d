#!/bin/bash
# Sources the bash completion of qorddsping and calls its function as bash would, on command
# lines typed up to the cursor; compares the candidates offered.
#   bash_completion_test.sh COMPLETION_SCRIPT MAN_PAGE BUILTIN_QOS_SOURCE
set -u
completion=$1 manual=$2 builtin=$3
failures=0

# shellcheck source=/dev/null
source "$completion" || exit 1
[[ $(complete -p qorddsping) == "complete -F _qorddsping qorddsping" ]] || {
    echo "FAIL: no completion registered for qorddsping"
    exit 1
}

# Candidates for LINE (the cursor at its end), sorted, one line.
candidates() {
    local COMP_LINE=$1 COMP_POINT=${#1} COMP_WORDS COMP_CWORD
    read -ra COMP_WORDS <<<"$COMP_LINE"
    [[ $COMP_LINE == *" " ]] && COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    _qorddsping qorddsping "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort | tr '\n' ' ' | sed 's/ $//'
}

expect() {
    local line=$1 wanted=$2 got
    got=$(candidates "$line")
    if [[ $got == "$wanted" ]]; then
        echo "ok   '$line' -> $got"
    else
        echo "FAIL '$line'"
        echo "     wanted: $wanted"
        echo "     got:    $got"
        failures=$((failures + 1))
    fi
}

sorted() { printf '%s\n' "$@" | LC_ALL=C sort | tr '\n' ' ' | sed 's/ $//'; }

# Every option of the manual page, which a test holds to the usage page.
mapfile -t documented < <(sed -n '/^\.TP$/{n;s/^\.BI\{0,1\} \\-\([A-Za-z]*\).*/-\1/p}' "$manual")
[[ ${#documented[@]} -ge 30 ]] || {
    echo "FAIL: only ${#documented[@]} options found in $manual"
    exit 1
}
expect "qorddsping " "$(sorted "${documented[@]}")"
expect "qorddsping -" "$(sorted "${documented[@]}")"
expect "qorddsping -reliable -" "$(sorted "${documented[@]}")"

# Prefixes, in any letter case, as the tool takes them.
expect "qorddsping -dom" "-domainId -domainTag"
expect "qorddsping -DOMAINT" "-domainTag"
expect "qorddsping -p" "-participantPartition -peer -publisher"
expect "qorddsping -sub" "-subscriber"
expect "qorddsping -t" "-tcMaxSize -timeFilter -timeout -topicName -transport -typeName"
expect "qorddsping -nothing" ""

# Values from a fixed set, also after an abbreviated option.
expect "qorddsping -durability " "TRANSIENT_LOCAL VOLATILE"
expect "qorddsping -dur T" "TRANSIENT_LOCAL"
expect "qorddsping -transport " "1 10 11 2 3 8 9"
expect "qorddsping -t " "1 10 11 2 3 8 9"
expect "qorddsping -discoveryPlugins " "SDP SDP2"
expect "qorddsping -discoveryP SDP" "SDP SDP2"
expect "qorddsping -verbosity " "0 1 2 3 4 5"
expect "qorddsping -verb " "0 1 2 3 4 5"
# -v is -version, which takes no value.
expect "qorddsping -v -sub" "-subscriber"
# Free values get nothing, and a value that looks like an option is still a value.
expect "qorddsping -domainId " ""
expect "qorddsping -topicName -dur" ""
expect "qorddsping -topicName -dur -" "$(sorted "${documented[@]}")"
expect "qorddsping -domainId 3 -durability V" "VOLATILE"

# File names after -qosFile.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/profiles.d"
cat >"$scratch/profiles.xml" <<'EOF'
<?xml version="1.0"?>
<dds>
  <qos_library name="SiteLibrary">
    <qos_profile name="Lab" base_name="InternalPingLibrary::InternalPingProfile"/>
    <qos_profile name="Field">
    </qos_profile>
  </qos_library>
  <qos_library name="DefaultPingLibrary">
    <qos_profile name="DefaultPingProfile"/>
  </qos_library>
</dds>
EOF
expect "qorddsping -qosFile $scratch/pro" "$scratch/profiles.d $scratch/profiles.xml"
expect "qorddsping -qosF $scratch/profiles.x" "$scratch/profiles.xml"

# -qosProfile: the built-in document's profile, and those of the -qosFile given before.
library=$(sed -n 's/.*<qos_library name=\\"\([^\\]*\)\\".*/\1/p' "$builtin")
profile=$(sed -n 's/.*<qos_profile name=\\"\([^\\]*\)\\".*/\1/p' "$builtin")
[[ -n $library && -n $profile ]] || {
    echo "FAIL: no library or profile found in $builtin"
    exit 1
}
expect "qorddsping -qosProfile " "$library::$profile"
expect "qorddsping -qosFile $scratch/profiles.xml -verbosity 2 -qosProfile " \
    "$(sorted "$library::$profile" SiteLibrary::Lab SiteLibrary::Field \
        DefaultPingLibrary::DefaultPingProfile)"
expect "qorddsping -qosFile $scratch/profiles.xml -qosP S" "SiteLibrary::Field SiteLibrary::Lab"
# After the colons only the rest is offered: bash took them as word breaks.
expect "qorddsping -qosFile $scratch/profiles.xml -qosProfile SiteLibrary::L" "Lab"
expect "qorddsping -qosFile $scratch/missing.xml -qosProfile " "$library::$profile"

if ((failures > 0)); then
    echo "$failures completion case(s) failed"
    exit 1
fi
echo "all completion cases passed"
