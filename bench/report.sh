# The part of scripts/bench that turns results into the table and the document. Each line of the file results has a
# subject, a program, its seconds or figure, and its KiB.

# The sorted figures of a program: seconds in column 3 of the results, KiB in column 4.
figures() { awk -v s="$1" -v p="$2" -v c="$3" '$1 == s && $2 == p { print $c }' results | sort -g; }
median_seconds() {
    figures "$1" "$2" 3 | awk '{ v[NR] = $1 } END { print (v[int((NR + 1) / 2)] + v[int((NR + 2) / 2)]) / 2 }'
}
peak_mb() { figures "$1" "$2" 4 | awk 'END { print $1 * 1024 / 1e6 }'; }

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.3f", a / b }'; }
verdict() { awk -v is="$1" -v reach="$2" 'BEGIN { print is <= reach ? "met" : "missed" }'; }
verdict_at_least() { awk -v is="$1" -v reach="$2" 'BEGIN { print (is >= reach ? "met" : "missed") }'; }

time_rows() {
    local work subject other reach ours theirs is
    while IFS='|' read -r work subject other reach; do
        ours=$(median_seconds "$subject" tavrel)
        theirs=$(median_seconds "$subject" "$other")
        is=$(ratio "$ours" "$theirs")
        printf '| %s | %s | at most %s | %s | %.3f s | %.3f s | %s |\n' \
            "$work" "$(name_of "$other")" "$reach" "$is" "$ours" "$theirs" "$(verdict "$is" "$reach")"
    done < <(rows "$TIMES" 2)
}

memory_rows() {
    local work subject other reach ours theirs most
    while IFS='|' read -r work subject other reach; do
        ours=$(peak_mb "$subject" tavrel)
        theirs=$(peak_mb "$subject" "$other")
        most=$reach
        reach="$reach MB"
        if [ "${most#+}" != "$most" ]; then
            most=$(awk -v a="$theirs" -v b="$most" 'BEGIN { print a + b }')
            reach="the other $reach"
        fi
        printf '| %s | %s | at most %s | %s | %.1f MB | %.1f MB | %s |\n' "$work" "$(name_of "$other")" "$reach" \
            "$(ratio "$ours" "$theirs")" "$ours" "$theirs" "$(verdict "$ours" "$most")"
    done < <(rows "$MEMORY" 2)
}

# The median of a run in seconds is that of a thousandth of it in milliseconds.
figure_rows() {
    local work subject reach bound unit ours met
    while IFS='|' read -r work subject reach; do
        read -r _ _ bound unit <<< "$reach"
        ours=$(median_seconds "$subject" tavrel)
        met=$(verdict "$ours" "$bound")
        [ "${reach#at least}" = "$reach" ] || met=$(verdict_at_least "$ours" "$bound")
        printf '| %s | | %s | | %.3f %s | | %s |\n' "$work" "$reach" "$ours" "$unit" "$met"
    done < <(rows "$FIGURES" 2)
}

print_table() {
    echo '| Work | Against | Reach | Ratio | Tavrel | Other | Verdict |'
    echo '| --- | --- | --- | --- | --- | --- | --- |'
    time_rows
    memory_rows
    figure_rows
}

# A value of a file of "key : value" lines, such as those in /proc.
value_in() { awk -F ': *' -v key="$2" 'index($1, key) == 1 { print $2; exit }' "$1"; }

print_machine() {
    local nginx_version openssh_version
    nginx_version=$(nginx -v 2>&1)
    openssh_version=$(ssh -V 2>&1)
    echo "- Processor: $(value_in /proc/cpuinfo 'model name'), $(nproc) cores"
    echo "- Memory: $(value_in /proc/meminfo MemTotal | awk '{ printf "%.1f GB", $1 * 1024 / 1e9 }')"
    echo "- Kernel: $(uname -sr)"
    echo "- libcurl $(pkg-config --modversion libcurl), Qt $(pkg-config --modversion Qt5Core)," \
        "nginx ${nginx_version##*/}, $(proftpd -v 2>&1), ${openssh_version%%,*}"
    echo "- lftp $(lftp --version | awk '{ print $4; exit }'), $(ncftpput --version | head -n 1)"
    echo "- Date: $(date -u +%Y-%m-%d)"
}

print_document() {
    cat << DOCUMENT
# Performance

Written by \`scripts/bench\`; run it again after a change to a transfer.

$(cat table)

## Machine

$(print_machine)

Times differ from machine to machine; the ratios are what to compare.

## How it is measured

Each program of \`bench/\` does one piece of work and times only that, on a monotonic clock. The servers are an nginx, a
ProFTPD and, for SFTP, an OpenSSH on the loopback interface, with their files and the programs' in memory where there is
room. In each of $rounds rounds every program runs once, in turn, so that a slow moment of the machine meets all of
them; a round before that warms up and does not count. The times are medians of the rounds, the ratio is Tavrel's median
divided by the other's. Memory is the highest resident size of any round, in MB of 10^6 bytes.

"C, libcurl's defaults" is \`bench/plain.c\`: \`curl_easy_perform\` without tuning. For the small requests it uses a new
handle for each and the same file of 50 cookies, for the form the same libcurl functions as Tavrel.
"QNetworkAccessManager" is \`bench/qnam.cpp\`: each \`readyRead\` goes to a \`QFile\`. It reads on a thread of its own and
holds whatever the application has not taken yet, so its time depends on how fast the kernel hands out fresh memory.
Its figures, and with them its ratio, differ far more from run to run than the others do.

For file stores it is \`bench/plain_ftp.c\`, which reuses one handle, sets the options that Tavrel sets for the paths of a
store, and takes the same steps: it tests whether a directory exists, creates it, sends the files. The files to publish
have 1 to 8 KiB, those to list or remove are empty. lftp and ncftpput do the same with \`mirror -R\`, \`find\` and \`-R\`, on
their defaults and without TLS; their times include their start. Commands are counted in the log of the server, from
the login on. Each program finds the store at rest: ProFTPD greets whoever comes right after a session 0.4 s late. The
memory for an entry is what the process has grown by a list, without the UTF-16 text of the names.

## What makes the difference

- The receive buffer of 512 KiB, in place of libcurl's 16 KiB: a large download needs far fewer turns through the
  kernel and the progress report. It is most of the gain of the large downloads.
- The transfer loop, in place of \`curl_easy_perform\`: it never sleeps while libcurl has work but no socket to wait
  for, and watches the first two milliseconds of a transfer instead of sleeping through them, as being woken up takes
  as long as a server nearby needs to answer. It also sees an interruption within 50 ms.
- Blocks of 512 KiB to a file: libcurl delivers at most 16 KiB at a time, and each write is a call to the system.
- No copy of the body: a download passes through one such block, and a posted file is held once beside the copy that
  libcurl's form API makes for itself.
- Enciphering writes each byte once, straight behind the envelope's header: one copy of the file beside the caller's and
  libcurl's.
- Over FTP \`curl_easy_perform\` sleeps for a whole second now and then, when the server is faster than libcurl's next
  turn; the transfer loop never does. That is why the times of the C program differ so much from run to run.
- What exists on a server is asked for once: publishing in the order of directories costs two commands for a file and
  six for a directory.
- The upload buffer of 2 MiB, in place of 64 KiB: SFTP sends that much before it waits for the server. Over FTP it is of
  128 KiB; a put is as fast as the kernel moves bytes, for every program.
- Over SFTP a small file takes three answers of the server, for every program that uses libssh2; what is left to gain is
  the time between an answer and the next question.
- Small requests cost what their connection and the reading and writing of the cookie file cost.
DOCUMENT
}
