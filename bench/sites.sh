# Sourced by scripts/bench: publishing folders, also over a line with a delay.

make_sites() {
    local directory file
    for directory in $(seq 8); do
        mkdir -p "small-site/$directory"
        for file in $(seq 13); do
            head -c $((1024 + RANDOM % 7169)) /dev/urandom > "small-site/$directory/$file.html"
        done
    done
    rm small-site/[5-8]/13.html # so that there are 100
    for directory in $(seq -w 100); do
        mkdir -p "large-site/$directory"
        (cd "large-site/$directory" && head -c 200K /dev/urandom | split -a 2 -b 2K - page)
    done
    for directory in $(seq -w 200); do
        mkdir -p "many/$directory"
        (cd "many/$directory" && seq -f 'page%g.html' 500 | xargs touch)
    done
}

is_of_site() {
    case $1 in
    folder-* | site?-* | changed-*) ;;
    *) return 1 ;;
    esac
}

# start_far_stores: servers at the other end of the line. In a subshell, as the variables are those of the near ones.
start_far_stores() {
    local started
    started=$(
        start_far_server proftpd "$folder/far"
        start_far_server openssh "$folder/far"
        echo "$FTP_PORT ${SSH_PORT:-$PSFTP_PORT} ${SSH_ROOT-$FTP_ROOT}"
    )
    read -r far_ftp_port far_sftp_port far_sftp_root <<< "$started"
}

# publish_folder STORE... FOLDER CONNECTIONS
publish_folder() { "$programs/bench_tavrel_publish" folder "$@"; }

# change_files: always the same ten files of ten directories.
change_files() {
    local directory
    for directory in 005 015 025 035 045 055 065 075 085 095; do
        echo changed >> "large-site/$directory/pageaa"
    done
}

# prepare_site SUBJECT: restores the initial state of the server, and sets `work` to the arguments of publish_folder.
prepare_site() {
    local far_ftp=(ftp "$far_host" "${far_ftp_port:-}" "") far_sftp=(sftp "$far_host" "${far_sftp_port:-}" "${far_sftp_root:-}")
    local counted=(ftp 127.0.0.1 "$counted_port" /changed)
    case $1 in
    folder-ftp) rm -rf ftp/site && work=(ftp 127.0.0.1 "$FTP_PORT" "" "$folder/files" 4) ;;
    folder-sftp) rm -rf "$sftp_folder/site" && work=(sftp 127.0.0.1 "$sftp_port" "$sftp_root" "$folder/files" 4) ;;
    folder-bytes)
            rm -rf ftp/site ftp/small
            work=(bytes ftp 127.0.0.1 "$FTP_PORT" "" "$folder/many" "$folder/tree")
            ;;
    site?-ftp-far) rm -rf far/ftp/site && work=("${far_ftp[@]}" "$folder/small-site" "${1:4:1}") ;;
    site?-sftp-far) rm -rf "far/$sftp_folder/site" && work=("${far_sftp[@]}" "$folder/small-site" "${1:4:1}") ;;
    changed-ftp-far)
        # Sent once without the line; lftp has a copy of its own.
        if [ ! -e far/ftp/changed ]; then
            work=(ftp 127.0.0.1 "$far_ftp_port" /changed "$folder/large-site" 4)
            in_delay "$programs/bench_tavrel_publish" folder "${work[@]}" > printed
            cp -a far/ftp/changed/site far/ftp/mirrored
        fi
        change_files && work=(ftp "$far_host" "$far_ftp_port" /changed "$folder/large-site" 4)
        ;;
    changed-commands)
        [ -e counted/ftp/changed ] || publish_folder "${counted[@]}" "$folder/large-site" 4 > printed
        change_files && : > counted/log && work=("${counted[@]}" "$folder/large-site" 4)
        ;;
    esac
}

# run_on_site SUBJECT NAME
run_on_site() {
    sleep 0.7 # as in run_on_store
    case $1:$2 in
    folder-bytes:*) "$programs/bench_tavrel_publish" "${work[@]}" ;;
    changed-commands:*) publish_folder "${work[@]}" > printed && awk 'END { print NR }' counted/log ;;
    folder-ftp:*lftp | folder-ftp:ncftp | folder-sftp:lftp) run_on_store "publish-${1#folder-}" "$2" ;;
    site4-ftp-far:lftp) in_delay_lftp "ftp://$far_host:$far_ftp_port" "mirror -R --parallel=4 $folder/small-site site" ;;
    site4-sftp-far:lftp)
        in_delay_lftp "sftp://$far_host:$far_sftp_port" "mirror -R --parallel=4 $folder/small-site $far_sftp_root/site"
        ;;
    changed-ftp-far:lftp)
        in_delay_lftp "ftp://$far_host:$far_ftp_port" "mirror -R --only-newer --parallel=4 $folder/large-site mirrored"
        ;;
    *-far:*) in_delay "$programs/bench_tavrel_publish" folder "${work[@]}" ;;
    *) publish_folder "${work[@]}" ;;
    esac
}

# in_delay_lftp URL COMMAND: run_lftp on the line.
in_delay_lftp() {
    export -f run_lftp timed
    export folder
    in_delay bash -euc 'run_lftp "$@"' run_lftp "$@"
}

check_site() {
    case $1 in
    folder-ftp) diff -r -x .tavrel-site files ftp/site ;;
    folder-sftp) diff -r -x .tavrel-site files "$sftp_folder/site" ;;
    site?-ftp-far) diff -r -x .tavrel-site small-site far/ftp/site ;;
    site?-sftp-far) diff -r -x .tavrel-site small-site "far/$sftp_folder/site" ;;
    changed-ftp-far) [ "$2" != tavrel ] || diff -r -x .tavrel-site large-site far/ftp/changed/site ;;
    changed-commands) diff -r -x .tavrel-site large-site counted/ftp/changed/site ;;
    esac
}
