#!/usr/bin/env bash
# Works the programs for minutes on end, most of them under the sanitizers, and lets fail what they depend on.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

case ${1-} in
    --help)
        echo "usage: ./soak.sh [MINUTES]             windows, events, queries, restarts (default: 10 minutes)"
        echo "       ./soak.sh --console [ROUNDS [SEED]]"
        echo "                                       keys and clicks at random while the server dies, hangs and comes"
        echo "                                       back with another plant (default: 1000 rounds)"
        echo "       ./soak.sh --faults [STAGE...]   what hostile clients and broken files do to the programs"
        echo "       ./soak.sh --anomalies [--asan] [--scenario NAME]... [--at N [--lasting]] [KIND...]"
        echo "                                       one operation after the other fails: allocation, write, short, sync, name,"
        echo "                                       open, socket, thread (default: all; --at: only the N-th; --asan: under the"
        echo "                                       sanitizers, without allocation and Leak: both theirs)"
        echo "       ./soak.sh --devices [OUTAGES]   a Modbus device that fails in many ways, again and again (default: 1000)"
        echo "       ./soak.sh --seeds [COUNT [FIRST]]"
        echo "                                       plant, clients, device, database by chance, in driven time:"
        echo "                                       so many seeds under the sanitizers (default: 10000 from 1 on)"
        echo "       ./soak.sh --days [DAYS]         a server that scans and records in driven time (default: 365 days)"
        echo "       ./soak.sh --fuzz [MINUTES | --runs RUNS] [TARGET...]"
        echo "                                       what reads files, texts and messages, side by side under inputs that"
        echo "                                       libFuzzer makes (default: 60 minutes in all; RUNS are of each)"
        echo "       ./soak.sh --history [--kills N] [--database sqlite|postgres]"
        echo "                                       what was recorded after kills and outages (default: 1000 kills)"
        echo "       ./soak.sh --links [FAULTS [LINKS]]"
        echo "                                       links to another machine that die and hang, so many side by side"
        echo "                                       (default: 1000 faults on 8 links)"
        exit ;;
    --devices)
        scripts/install-packages.sh packaging/test-packages.txt
        scripts/build.sh release programs
        VELSQL_BIN=$PWD/build/release/bin exec python3 tests/faults/outages.py ${2-} ;;
    --anomalies)
        shift
        preset=release
        [ "${1-}" != --asan ] || { preset=asan; shift; }
        scripts/install-packages.sh packaging/test-packages.txt
        scripts/build.sh "$preset" all
        export VELSQL_BIN=$PWD/build/$preset/bin
        if [ "$preset" = asan ]; then
            VELSQL_SANITIZER=$(ldd "$VELSQL_BIN/velsqlserver" | awk '/libasan/ { print $3 }')
            export VELSQL_SANITIZER VELSQL_PATIENCE=${VELSQL_PATIENCE:-60}
        fi
        exec nice -n 19 python3 tests/faults/anomalies.py "$@" ;;
    --faults)
        shift
        scripts/install-packages.sh packaging/test-packages.txt
        scripts/build.sh release programs
        exec scripts/run-faults.sh "$@" ;;
    --fuzz)
        shift
        how=--minutes
        [ "${1-}" != --runs ] || { how=--runs; shift; }
        case ${1-60} in *[!0-9]* | '' | 0) echo "./soak.sh --fuzz takes a number of minutes, or --runs and a number" >&2; exit 2 ;; esac
        scripts/build.sh fuzz fuzz
        exec scripts/run-fuzzers.sh "$how" "${1-60}" "${@:2}" ;;
    --seeds)
        for number in "${2-10000}" "${3-1}"; do
            case $number in *[!0-9]* | '' | 0) echo "./soak.sh --seeds takes two numbers" >&2; exit 2 ;; esac
        done
        scripts/build.sh asan simulation
        exec build/asan/bin/simulation "${3-1}" "${2-10000}" ;;
    --days)
        case ${2-365} in *[!0-9]* | '' | 0) echo "./soak.sh --days takes a number of days" >&2; exit 2 ;; esac
        scripts/build.sh release simulation
        exec build/release/bin/simulation --days "${2-365}" ;;
    --history)
        shift
        scripts/install-packages.sh packaging/test-packages.txt
        scripts/build.sh release programs
        exec env QT_QPA_PLATFORM=offscreen VELSQL_BIN="$PWD/build/release/bin" python3 tests/faults/history_campaign.py "$@" ;;
    --links)
        for number in "${2-1000}" "${3-8}"; do
            case $number in *[!0-9]* | '' | 0) echo "./soak.sh --links takes a number of faults, and of links" >&2; exit 2 ;; esac
        done
        scripts/build.sh release all
        VELSQL_BIN=$PWD/build/release/bin exec python3 tests/faults/links.py "${2-1000}" "${3-8}" ;;
    --console)
        for number in "${2-1000}" "${3-1}"; do
            case $number in *[!0-9]* | '' | 0) echo "./soak.sh --console takes a number of rounds, and a seed" >&2; exit 2 ;; esac
        done
        program=soak_console
        export VELSQL_SOAK_ROUNDS=${2-1000} VELSQL_SOAK_SEED=${3-} ;;
    *[!0-9]* | 0) echo "./soak.sh takes a number of minutes" >&2; exit 2 ;;
    *)
        program=soak
        export VELSQL_SOAK_SECONDS=$((${1:-10} * 60)) ;;
esac

scripts/build.sh asan all

# A small quarantine: what was given back need not be kept for long.
export ASAN_OPTIONS=quarantine_size_mb=8:detect_leaks=1:malloc_context_size=20
export UBSAN_OPTIONS=print_stacktrace=1
export QT_QPA_PLATFORM=offscreen
exec build/asan/bin/"$program"
