# Completion of qbgl's commands, options, codesets and locales for bash, in terms that zsh's emulation of it has, too.
# shellcheck disable=SC2207 # no word that is offered has blanks
_qbgl_words() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    if [[ $command == --icu ]]; then
        command=${COMP_WORDS[2]:-}
        ((COMP_CWORD == 2)) && before=--icu
    fi
    local commands='conv upper lower class width sort key explain symbols num cal date locale list'
    COMPREPLY=()
    if ((COMP_CWORD == 1)) || [[ $before == --icu ]]; then
        COMPREPLY=($(compgen -W "$commands help --help --icu --version" -- "$word"))
        return
    fi
    case $command,$before in
    *,-o | *,--output | *,--files0-from) ;; # files
    conv,-f | conv,-t | conv,--from-code | conv,--to-code | *,--codeset)
        COMPREPLY=($(compgen -W "$(qbgl list codesets 2>/dev/null | grep -v '(no conversion)' | cut -c7-)" -- "$word"))
        return
        ;;
    conv,--bom) COMPREPLY=($(compgen -W 'add remove keep' -- "$word")) && return ;;
    conv,--newline) COMPREPLY=($(compgen -W 'lf crlf' -- "$word")) && return ;;
    date,--zone) COMPREPLY=($(compgen -W 'utc native' -- "$word")) && return ;;
    date,--all)
        COMPREPLY=($(compgen -W "$(qbgl list locales 2>/dev/null | grep -o '^[a-z]*_' | tr -d _ | sort -u)" -- "$word"))
        return
        ;;
    cal,--from) COMPREPLY=($(compgen -W 'gregorian hebrew islamic' -- "$word")) && return ;;
    locale,-k | locale,--category)
        COMPREPLY=($(compgen -W 'LC_CTYPE LC_COLLATE LC_NUMERIC LC_MONETARY LC_TIME LC_MESSAGES charmap decimal_point thousands_sep
            crncystr int_curr_symbol currency_symbol mon_decimal_point mon_thousands_sep positive_sign negative_sign int_p_cs_precedes
            int_p_sep_by_space int_n_cs_precedes int_n_sep_by_space int_p_sign_posn int_n_sign_posn abday day abmon mon ab_alt_mon alt_mon
            am_pm d_t_fmt d_fmt t_fmt t_fmt_ampm date_fmt first_weekday first_workday week-1stweek era era_d_fmt era_t_fmt era_d_t_fmt
            alt_digits yesexpr noexpr yesstr nostr' -- "$word"))
        return
        ;;
    conv,-l) ;;
    *,-l | *,--locale | num,--from | date,--from | locale,locale)
        COMPREPLY=($(compgen -W "native $(qbgl list locales 2>/dev/null | cut -d' ' -f1)" -- "$word"))
        return
        ;;
    list,list) COMPREPLY=($(compgen -W 'codesets conversions locales' -- "$word")) && return ;;
    help,help) COMPREPLY=($(compgen -W "$commands" -- "$word")) && return ;;
    esac
    if [[ $word == -* ]]; then
        COMPREPLY=($(compgen -W "$(qbgl "$command" --help 2>/dev/null | grep -oE -- '(^|[ ,])--?[A-Za-z][a-z0-9-]*' | tr -d ' ,')" -- "$word"))
        return
    fi
}
complete -o default -F _qbgl_words qbgl # files where no word is offered
