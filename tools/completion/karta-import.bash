# Completion of karta-import for bash; made by tools/completion/make from the program's own help.
_karta_import() {
    local word=${COMP_WORDS[COMP_CWORD]} last=${COMP_WORDS[COMP_CWORD - 1]} verb='' options='' i
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
            formats|detect|info|show|view|convert|trace) verb=${COMP_WORDS[i]}; break ;;
        esac
    done
    COMPREPLY=()
    case $last in
        --date-order) mapfile -t COMPREPLY < <(compgen -W 'DMY MDY YMD' -- "$word"); return ;;
        --encoding) mapfile -t COMPREPLY < <(compgen -W 'utf-8 utf-16 windows-1252 cp850' -- "$word"); return ;;
        --format) mapfile -t COMPREPLY < <(compgen -W 'brimrose brookside brookside-xml opus opus-interpolated csv dif dif-oem xlsx xls spc chemstation jcamp kpf lotus mat nsas netcdf plano text sieve unscrambler' -- "$word"); return ;;
        --grid) mapfile -t COMPREPLY < <(compgen -W 'first common union' -- "$word"); return ;;
        --to) mapfile -t COMPREPLY < <(compgen -W 'csv tsv jsonl txt dif mat' -- "$word"); return ;;
        --plugins) mapfile -t COMPREPLY < <(compgen -d -- "$word"); return ;;
        --average|--blocks|--column-names|--columns|--decimal|--delimiter|--header|--include|--jobs|--limit|--matrix|--part|--password|--row-names|--rows|--setting|--sheets|--text-columns|--want|-j) return ;;
    esac
    case $verb in
        '') options='formats detect info show view convert trace --help --version' ;;
        formats) options='--plugins --json -h --help --version' ;;
        detect) options='--plugins --quiet --json -h --help --version --complete --classic' ;;
        info) options='--json -h --help --version --format --plugins --want --limit --password --complete --classic --part --sheets --side-by-side --blocks --matrix --row-names --column-names --delimiter --merge-delimiters --encoding --decimal --header --text-columns --no-types --date-order --include --average --no-x-row --setting --options --save-options --yes --no --through-driver --sandbox --no-sandbox --quiet --verbose' ;;
        show) options='--rows --columns --wide --facts -h --help --version --format --plugins --want --limit --password --complete --classic --part --sheets --side-by-side --blocks --matrix --row-names --column-names --delimiter --merge-delimiters --encoding --decimal --header --text-columns --no-types --date-order --include --average --no-x-row --setting --options --save-options --yes --no --through-driver --sandbox --no-sandbox --quiet --verbose' ;;
        view) options='-o --output --svg -h --help --version --format --plugins --want --limit --password --complete --classic --part --sheets --side-by-side --blocks --matrix --row-names --column-names --delimiter --merge-delimiters --encoding --decimal --header --text-columns --no-types --date-order --include --average --no-x-row --setting --options --save-options --yes --no --through-driver --sandbox --no-sandbox --quiet --verbose' ;;
        convert) options='-o --output --to --json --objects --safe-cells --each --stack --grid --skip-bad -j --jobs -h --help --version --format --plugins --want --limit --password --complete --classic --part --sheets --side-by-side --blocks --matrix --row-names --column-names --delimiter --merge-delimiters --encoding --decimal --header --text-columns --no-types --date-order --include --average --no-x-row --setting --options --save-options --yes --no --through-driver --sandbox --no-sandbox --quiet --verbose' ;;
        trace) options='-h --help --version --format --plugins --want --limit --password --complete --classic --part --sheets --side-by-side --blocks --matrix --row-names --column-names --delimiter --merge-delimiters --encoding --decimal --header --text-columns --no-types --date-order --include --average --no-x-row --setting --options --save-options --yes --no --through-driver --sandbox --no-sandbox --quiet --verbose' ;;
    esac
    if [[ $word == -* || -z $verb ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
    fi
    if [[ $word != -* ]]; then
        mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "$word")
    fi
}
complete -o filenames -F _karta_import karta-import
