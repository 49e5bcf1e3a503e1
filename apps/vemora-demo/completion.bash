# The options that "vemora-demo --help" lists.
complete -F _longopt vemora-demo
