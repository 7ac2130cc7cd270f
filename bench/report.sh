# Sourced by scripts/bench: turns the file results into the table of docs/PERFORMANCE.md. A line of results holds a subject,
# a program, its seconds or other figure, its memory in KiB, and its seconds of processor time.

# figures SUBJECT PROGRAM COLUMN: sorted; column 3 holds seconds, column 4 KiB, column 5 seconds of processor time.
figures() { awk -v s="$1" -v p="$2" -v c="$3" '$1 == s && $2 == p { print $c }' results | sort -g; }
# median_seconds SUBJECT PROGRAM [COLUMN]
median_seconds() {
    figures "$1" "$2" "${3:-3}" | awk '{ v[NR] = $1 } END { print (v[int((NR + 1) / 2)] + v[int((NR + 2) / 2)]) / 2 }'
}
peak_mb() { figures "$1" "$2" 4 | awk 'END { print $1 * 1024 / 1e6 }'; }

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.3f", a / b }'; }
# verdict FIGURE at most|at least BOUND
verdict() {
    awk -v is="$1" -v at="$3" -v bound="$4" \
        'BEGIN { print (at == "least" ? is >= bound : is <= bound) ? "met" : "missed" }'
}

# time_rows TABLE COLUMN
time_rows() {
    local work subject other target ours theirs is
    while IFS='|' read -r work subject other target; do
        ours=$(median_seconds "$subject" tavrel "$2")
        theirs=$(median_seconds "$subject" "$other" "$2")
        is=$(ratio "$ours" "$theirs")
        printf '| %s | %s | at most %s | %s | %.3f s | %.3f s | %s |\n' \
            "$work" "$(name_of "$other")" "$target" "$is" "$ours" "$theirs" "$(verdict "$is" at most "$target")"
    done < <(rows "$1" 2)
}

memory_rows() {
    local work subject other target ours theirs bound
    while IFS='|' read -r work subject other target; do
        ours=$(peak_mb "$subject" tavrel)
        theirs=$(peak_mb "$subject" "$other")
        bound=$target
        target="$target MB"
        if [ "${bound#+}" != "$bound" ]; then
            bound=$(awk -v a="$theirs" -v b="$bound" 'BEGIN { print a + b }')
            target="the other $target"
        fi
        printf '| %s | %s | at most %s | %s | %.1f MB | %.1f MB | %s |\n' "$work" "$(name_of "$other")" "$target" \
            "$(ratio "$ours" "$theirs")" "$ours" "$theirs" "$(verdict "$ours" at most "$bound")"
    done < <(rows "$MEMORY" 2)
}

# A program that repeats its work 1,000 times reports seconds, which are the milliseconds of one repetition.
figure_rows() {
    local work subject target at most bound unit ours
    while IFS='|' read -r work subject target; do
        read -r at most bound unit <<< "$target"
        ours=$(median_seconds "$subject" tavrel)
        printf '| %s | | %s | | %.3f %s | | %s |\n' "$work" "$target" "$ours" "$unit" \
            "$(verdict "$ours" "$at" "$most" "$bound")"
    done < <(rows "$FIGURES" 2)
}

# How much slower Tavrel may be in another build.
MAX_SLOWDOWN=1.10
comparison_rows() {
    local subject names other ours theirs is
    while IFS='|' read -r subject names; do
        ours=$(median_seconds "$subject" tavrel)
        for other in ${names#tavrel }; do
            theirs=$(median_seconds "$subject" "$other")
            is=$(ratio "$theirs" "$ours")
            printf '| %s | %s | at most %s | %s | %.3f s | %.3f s | %s |\n' \
                "$subject" "${other##*/}" "$MAX_SLOWDOWN" "$is" "$ours" "$theirs" "$(verdict "$is" at most "$MAX_SLOWDOWN")"
        done
    done <<< "$RUNS"
}

print_table() {
    if [ ${#against[@]} -gt 0 ]; then
        echo '| Work | Build | Target | Ratio | This build | That build | Verdict |'
        echo '| --- | --- | --- | --- | --- | --- | --- |'
        comparison_rows
        return
    fi
    echo '| Work | Compared with | Target | Ratio | Tavrel | Other | Verdict |'
    echo '| --- | --- | --- | --- | --- | --- | --- |'
    time_rows "$TIMES" 3
    time_rows "$PROCESSOR" 5
    memory_rows
    figure_rows
}

# value_in FILE KEY: FILE has lines of the form "KEY : VALUE".
value_in() { awk -F ': *' -v key="$2" 'index($1, key) == 1 { print $2; exit }' "$1"; }

print_environment() {
    local nginx_version openssh_version
    nginx_version=$(nginx -v 2>&1)
    openssh_version=$(ssh -V 2>&1)
    echo "- Processor: $(value_in /proc/cpuinfo 'model name'), $(nproc) cores"
    echo "- Memory: $(value_in /proc/meminfo MemTotal | awk '{ printf "%.1f GB", $1 * 1024 / 1e9 }')"
    echo "- Kernel: $(uname -sr)"
    echo "- libcurl $(pkg-config --modversion libcurl), Qt $(pkg-config --modversion Qt5Core)," \
        "nginx ${nginx_version##*/}, $(proftpd -v 2>&1), ${openssh_version%%,*}"
    echo "- lftp $(lftp --version | awk '{ print $4; exit }'), $(ncftpput --version | head -n 1)"
    echo "- $rounds rounds, $(date -u +%Y-%m-%d)"
}

# update_document FILE: replaces the lines between its two markers.
update_document() {
    local begin='^<!-- results of scripts\/bench -->$' end='^<!-- end of results -->$'
    { cat table && echo && print_environment; } > results.md
    sed -i -e "/$begin/,/$end/ { //!d }" -e "/$begin/ r results.md" "$1"
}
