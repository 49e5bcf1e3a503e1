# The options that "vemora-serve --help" lists.
complete -F _longopt vemora-serve
