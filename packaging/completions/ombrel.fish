# Completion of ombrel for fish.

set -l verbs export convert apply info commands
set -l noVerb "not __fish_seen_subcommand_from $verbs"

complete -c ombrel -n $noVerb -a export -d 'Flatten a file and write it in a raster format'
complete -c ombrel -n $noVerb -a convert -d 'Save a file as a native document'
complete -c ombrel -n $noVerb -a apply -d 'Run an edit script on a file and write the result'
complete -c ombrel -n $noVerb -a info -d 'Describe a file'
complete -c ombrel -n $noVerb -a commands -d 'List the commands of edit scripts'
complete -c ombrel -s h -l help -d 'Print help'
complete -c ombrel -n $noVerb -l version -d 'Print the version'

complete -c ombrel -n "__fish_seen_subcommand_from $verbs" -l memory -x -a '256 512 1024 2048 4096' -d 'Memory for uncompressed tiles, in MiB'

set -l raster '__fish_seen_subcommand_from export apply'
complete -c ombrel -n $raster -l format -x -a 'png jpeg heic tiff webp' -d 'Format of the file'
complete -c ombrel -n $raster -l quality -x -a '0.5 0.7 0.8 0.9 1' -d 'Quality of JPEG and HEIC'
complete -c ombrel -n $raster -l depth -x -a '8 16 32' -d 'Bits per channel'
complete -c ombrel -n $raster -l size -x -a '256 512 1024 2048 4096' -d 'Longest side in pixels'
complete -c ombrel -n $raster -l srgb -d 'Convert the colours to sRGB'
complete -c ombrel -n '__fish_seen_subcommand_from apply' -s o -l output -r -d 'File to write'
complete -c ombrel -n '__fish_seen_subcommand_from info' -l json -d 'Write JSON'
complete -c ombrel -n '__fish_seen_subcommand_from commands' -l markdown -d 'Write Markdown'
complete -c ombrel -n '__fish_seen_subcommand_from commands' -f
