# fish completion for odaxgen

# The words of the line behind odaxgen that are neither options nor their values.
function __odaxgen_arguments
    set -l words (commandline -opc)
    set -e words[1]
    set -l is_value no
    for word in $words
        if test $is_value = yes
            set is_value no
            continue
        end
        switch $word
            case -o --output --config --page --ink --scale --max-size
                set is_value yes
            case '-*'
            case '*'
                echo $word
        end
    end
end

# Whether the line has the subcommand and, when it is given, that many arguments behind it.
function __odaxgen_in -a subcommand count
    set -l arguments (__odaxgen_arguments)
    test "$arguments[1]" = "$subcommand"; or return 1
    test -z "$count"; or test (count $arguments) -eq (math $count + 1)
end

function __odaxgen_is_first
    test (count (__odaxgen_arguments)) -eq 0
end

# "-36  title" becomes "36", a tab and the title.
function __odaxgen_codes
    set -l program (commandline -opc)[1]
    $program explain --list 2>/dev/null | string replace -r '^\s*-?(\d+)\s+' '$1\t'
end

function __odaxgen_job_files
    __fish_complete_suffix .odx
    __fish_complete_suffix .dat
end

complete -c odaxgen -f
complete -c odaxgen -s h -l help -d 'Print help and exit'

complete -c odaxgen -n __odaxgen_is_first -l version -d 'Print the version and exit'
complete -c odaxgen -n __odaxgen_is_first -k -a '(__fish_complete_suffix .cfg)'
complete -c odaxgen -n __odaxgen_is_first -a run -d 'Run jobs, one after another'
complete -c odaxgen -n __odaxgen_is_first -a check -d 'Say every problem of a configuration'
complete -c odaxgen -n __odaxgen_is_first -a explain -d 'Say what an error code means'
complete -c odaxgen -n __odaxgen_is_first -a init -d 'Write a starter job'
complete -c odaxgen -n __odaxgen_is_first -a inspect -d 'Say what a job file holds'
complete -c odaxgen -n __odaxgen_is_first -a verify -d 'Prove that a job file is right'
complete -c odaxgen -n __odaxgen_is_first -a render -d 'Draw the pages of a job file'

complete -c odaxgen -n '__odaxgen_in run' -s q -l quiet -d 'No echo of the settings, no progress'
complete -c odaxgen -n '__odaxgen_in run' -l json -d 'Print one JSON document'
complete -c odaxgen -n '__odaxgen_in run' -l keep-partial -d 'Keep what a failed job has written'
complete -c odaxgen -n '__odaxgen_in run' -k -a '(__fish_complete_suffix .cfg)'

complete -c odaxgen -n '__odaxgen_in check' -l strict -d 'Warnings count as errors'
complete -c odaxgen -n '__odaxgen_in check' -l json -d 'Print one JSON document'
complete -c odaxgen -n '__odaxgen_in check' -s q -l quiet -d 'Problems only: no hints, no summary'
complete -c odaxgen -n '__odaxgen_in check' -k -a '(__fish_complete_suffix .cfg)'

complete -c odaxgen -n '__odaxgen_in explain' -l list -d 'All codes, one per line'
complete -c odaxgen -n '__odaxgen_in explain 0' -k -a '(__odaxgen_codes)'

complete -c odaxgen -n '__odaxgen_in init 0' -a '(__fish_complete_directories)'

complete -c odaxgen -n '__odaxgen_in inspect' -l config -r -k -a '(__fish_complete_suffix .cfg)' \
    -d 'The configuration of the job'
complete -c odaxgen -n '__odaxgen_in inspect' -l commands -d 'List every raster command'
complete -c odaxgen -n '__odaxgen_in inspect' -l json -d 'Print JSON'
complete -c odaxgen -n '__odaxgen_in inspect 0' -k -a '(__odaxgen_job_files)'

complete -c odaxgen -n '__odaxgen_in verify 0' -k -a '(__fish_complete_suffix .cfg)'
complete -c odaxgen -n '__odaxgen_in verify 1' -k -a '(__odaxgen_job_files)'

complete -c odaxgen -n '__odaxgen_in render' -s o -l output -x -a '(__fish_complete_directories)' \
    -d 'Folder for the pictures'
complete -c odaxgen -n '__odaxgen_in render' -l config -r -k -a '(__fish_complete_suffix .cfg)' \
    -d 'The configuration of the job'
complete -c odaxgen -n '__odaxgen_in render' -l page -x -d 'Only this page'
complete -c odaxgen -n '__odaxgen_in render' -l ink -x \
    -a 'PBK MBK K C M Y c m Gy Pgy R G B CO CO2 composite' -d 'Only this ink'
complete -c odaxgen -n '__odaxgen_in render' -l scale -x -d 'Size of the pictures, 1 being the page'
complete -c odaxgen -n '__odaxgen_in render' -l max-size -x -d 'Longest side of a picture'
complete -c odaxgen -n '__odaxgen_in render' -l coatings -d 'Show coatings in the composite'
complete -c odaxgen -n '__odaxgen_in render' -l force -d 'Overwrite pictures that are there'
complete -c odaxgen -n '__odaxgen_in render 0' -k -a '(__odaxgen_job_files)'
