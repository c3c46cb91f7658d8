# Completion of "tidewell" for fish.

set -l commands status doctor browsers enable disable allow preview grants notifications notify-always overwrite keep site-settings history keep-history quit-of defaults
set -l domains 7QX2LM9PDA.com.emberlinestudio.Tidewell 7QX2LM9PDA.com.emberlinestudio.Tidewell.TidewellWorker

complete -c tidewell -f
complete -c tidewell -s h -l help -d 'Print help'
set -l first "not __fish_seen_subcommand_from $commands"
complete -c tidewell -n $first -a status -d 'What is on, and what is allowed'
complete -c tidewell -n $first -a doctor -d 'What is wrong, and what to do about it'
complete -c tidewell -n $first -l version -d 'Print the version'
complete -c tidewell -n $first -a browsers -d 'The browsers that can be cleaned here'
complete -c tidewell -n $first -a enable -d 'Clean after these browsers, and ask for their folders'
complete -c tidewell -n $first -a disable -d 'Leave these browsers alone'
complete -c tidewell -n $first -a allow -d 'Ask for the folders of these browsers'
complete -c tidewell -n $first -a preview -d 'What a run would remove now'
complete -c tidewell -n $first -a grants -d 'The folders that are allowed'
complete -c tidewell -n $first -a notifications -d 'Say when a browser was cleaned'
complete -c tidewell -n $first -a notify-always -d 'Say so also when there was nothing to remove'
complete -c tidewell -n $first -a overwrite -d 'Overwrite files before they are removed'
complete -c tidewell -n $first -a history -d 'What the last cleanings have done'
complete -c tidewell -n $first -a keep-history -d 'Keep a report of each cleaning'
complete -c tidewell -n $first -a keep -d 'Keep what these sites have stored'
complete -c tidewell -n $first -a site-settings -d 'Keep what you have set for single sites'
complete -c tidewell -n $first -a quit-of -d 'Clean after a browser now, as if it had quit'
complete -c tidewell -n $first -a defaults -d 'Read and write settings'

complete -c tidewell -n '__fish_seen_subcommand_from enable disable allow preview history quit-of' \
    -a '(tidewell browsers --words 2>/dev/null)'
complete -c tidewell -n '__fish_seen_subcommand_from enable allow' -l yes -d 'Agree to every folder'
complete -c tidewell -n '__fish_seen_subcommand_from quit-of' -l force -d 'Also while it runs, without asking'
complete -c tidewell -n '__fish_seen_subcommand_from quit-of' -l no-wait -d 'Do not wait for the end'
complete -c tidewell -n '__fish_seen_subcommand_from keep' -l list -d 'Only print the sites that are kept'
complete -c tidewell -n '__fish_seen_subcommand_from keep' -l remove -d 'Keep these sites no longer'
complete -c tidewell -n '__fish_seen_subcommand_from keep' -l import -rF -d 'Keep the sites in this file'
complete -c tidewell -n '__fish_seen_subcommand_from keep; and contains -- --remove (commandline -opc)' \
    -a '(tidewell keep --list 2>/dev/null)'
complete -c tidewell -n '__fish_seen_subcommand_from status doctor browsers preview grants history quit-of keep' -l json -d 'For programs'
complete -c tidewell -n '__fish_seen_subcommand_from browsers' -l words -d 'Only what each may be called'
complete -c tidewell -n '__fish_seen_subcommand_from notifications notify-always overwrite keep-history' -a 'on off'
complete -c tidewell -n '__fish_seen_subcommand_from history' -l last -d 'Only the last cleaning'
complete -c tidewell -n '__fish_seen_subcommand_from history' -s v -l verbose -d 'Every store'
complete -c tidewell -n '__fish_seen_subcommand_from preview' -s v -l verbose -d 'Print every path'
complete -c tidewell -n '__fish_seen_subcommand_from history' -l clear -d 'Forget them'
complete -c tidewell -n '__fish_seen_subcommand_from site-settings' -a 'keep remove'
complete -c tidewell -n '__fish_seen_subcommand_from grants; and not __fish_seen_subcommand_from revoke' \
    -a revoke -d 'Take back what was allowed'
complete -c tidewell -n '__fish_seen_subcommand_from revoke' -a '(tidewell grants 2>/dev/null)'

set -l word 'test (count (commandline -opc)) -eq'
set -l defaults '__fish_seen_subcommand_from defaults; and'
complete -c tidewell -n "$defaults $word 2" -a 'read write delete'
complete -c tidewell -n "$defaults $word 3" -a "$domains"
complete -c tidewell -n "$defaults $word 4" -a 'enabledBrowsers displayNotifications notifyAlways secureDeleteData userFolder homeLayout currentStores keepSiteSettings keptSites startedWith'
complete -c tidewell -n "$defaults $word 5; and contains -- write (commandline -opc)" -a '-string -bool -int -array'
