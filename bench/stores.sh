# Sourced by scripts/bench: file stores over FTP and SFTP.

# SFTP is that of OpenSSH if it can be started, else that of ProFTPD.
start_stores() {
    mkdir counted
    PROFTPD_LOG=$folder/counted/log start_server proftpd "$folder/counted"
    counted_port=$FTP_PORT
    start_server proftpd "$folder"
    start_server openssh "$folder"
    export USER_NAME PASSWORD
    sftp_port=${SSH_PORT:-$PSFTP_PORT}
    sftp_root=${SSH_ROOT-$FTP_ROOT}
    sftp_folder=ftp
    [ -z "${SSH_PORT:-}" ] || sftp_folder=ssh
    make_files
}

stop_stores() { "$root/tests/support/servers" stop "$folder/counted"; }

make_files() {
    local directory file
    for directory in $(seq -w 40); do
        mkdir -p "files/$directory"
        for file in $(seq -w 25); do
            head -c $((1024 + RANDOM % 7169)) /dev/urandom > "files/$directory/$file.html"
        done
    done
    for directory in $(seq -w 200); do
        mkdir -p "ftp/tree/$directory"
        (cd "ftp/tree/$directory" && seq -f 'page%g.html' 50 | xargs touch)
    done
    mkdir ftp/entries-10000 ftp/entries-100000
    (cd ftp/entries-10000 && seq -f 'page%06g.html' 10000 | xargs touch)
    (cd ftp/entries-100000 && seq -f 'page%06g.html' 100000 | xargs touch)
    chown -R --reference=ftp ftp/* # the user must be able to remove them
    cp -a ftp/tree tree
}

is_of_store() {
    case $1 in
    *-ftp | *-sftp | commands | parse | records) ;;
    *) return 1 ;;
    esac
}

# prepare_store SUBJECT: restores the initial state of the server, and sets `work` to the arguments of bench_plain_ftp and
# bench_tavrel_ftp.
prepare_store() {
    local at=(ftp "$FTP_PORT" "") served=ftp
    if [ "${1%-sftp}" != "$1" ]; then
        at=(sftp "$sftp_port" "$sftp_root")
        served=$sftp_folder
    fi
    [ -d ftp/tree ] || cp -a tree ftp/tree
    case $1 in
    publish-*) work=(publish "${at[@]}" "$folder/files") && rm -rf "$served/site" ;;
    put-*) work=(put "${at[@]}" "$folder/www/512m.bin") && rm -f "$served/large" ;;
    get-*) work=(get "${at[@]}" "$folder/fetched") && ln -f www/512m.bin "$served/large" ;;
    find-*) work=(find "${at[@]}" 10000) ;;
    remove-*) work=(remove "${at[@]}") ;;
    list-*) work=(list "${at[@]}" 1 entries-100000) ;;
    records) work=(record-bytes "${at[@]}" entries-100000) ;;
    parse) work=(parse 1000000) ;;
    commands)
        work=(publish ftp "$counted_port" "" "$folder/files")
        rm -rf counted/ftp/site
        : > counted/log
        ;;
    esac
}

# timed COMMAND...: prints the wall-clock time of a command like the programs of bench/, with 0 as its memory.
timed() {
    local start=$EPOCHREALTIME
    "$@" > printed
    awk -v start="$start" -v end="$EPOCHREALTIME" 'BEGIN { printf "%.6f 0\n", end - start }'
}

# run_lftp URL COMMAND
run_lftp() {
    local ssh="ssh -a -x -o StrictHostKeyChecking=no -o UserKnownHostsFile=/dev/null -o LogLevel=ERROR"
    ssh="$ssh -o PreferredAuthentications=password"
    HOME=$folder timed lftp -c "set cmd:fail-exit yes; set net:max-retries 1; set ftp:ssl-allow no
        set sftp:connect-program '$ssh'; open -u '$USER_NAME,$PASSWORD' $1; $2"
}

# run_on_store SUBJECT NAME
run_on_store() {
    # ProFTPD delays its greeting by 0.4 s right after the end of a session.
    sleep 0.7
    local ftp=ftp://127.0.0.1:$FTP_PORT
    case $1:$2 in
    publish-ftp:lftp) run_lftp "$ftp" "mirror -R $folder/files site" ;;
    publish-sftp:lftp) run_lftp "sftp://127.0.0.1:$sftp_port" "mirror -R $folder/files $sftp_root/site" ;;
    publish-ftp:ncftp)
        # It names the target after the source.
        HOME=$folder timed ncftpput -V -R -m -u "$USER_NAME" -p "$PASSWORD" -P "$FTP_PORT" 127.0.0.1 site files/*
        ;;
    find-ftp:lftp) run_lftp "$ftp" "find tree" ;;
    list-ftp:tenth) "$programs/bench_tavrel_ftp" list ftp "$FTP_PORT" "" 10 entries-10000 ;;
    commands:*)
        "$programs/bench_tavrel_ftp" "${work[@]}" > printed
        awk 'END { print NR / 1000 }' counted/log
        ;;
    *) "$programs/bench_$2_ftp" "${work[@]}" ;;
    esac
}

check_store() {
    case $1 in
    publish-ftp) diff -r files ftp/site ;;
    publish-sftp) diff -r files "$sftp_folder/site" ;;
    put-ftp) cmp ftp/large www/512m.bin ;;
    put-sftp) cmp "$sftp_folder/large" www/512m.bin ;;
    get-*ftp) cmp fetched www/512m.bin ;;
    remove-*) [ ! -e ftp/tree ] ;;
    esac
}
