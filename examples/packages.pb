* Packages to install: the wanted ones and all they depend on, as small as possible. The variable
* Package.Version says that it is installed, of each package at most one version. A dependency is met by any
* one of its alternatives; versions in conflict are not installed together. The objective is the size.
* Expected: s OPTIMUM FOUND
* Expected: c optimum objective found = 82
min: +20*editor.1 +34*editor.2 +12*mailer.1 +30*gui.1 +45*gui.2 +8*spell.1 +11*spell.2 +6*crypto.1 +9*crypto.2 +15*libc.1 +16*libc.2 +10*net.1 +7*net.2 +4*console.1 ;
one_editor: +1*editor.1 +1*editor.2 = 1 ;
one_mailer: +1*mailer.1 = 1 ;
one_gui: +1*gui.1 +1*gui.2 <= 1 ;
one_spell: +1*spell.1 +1*spell.2 <= 1 ;
one_crypto: +1*crypto.1 +1*crypto.2 <= 1 ;
one_libc: +1*libc.1 +1*libc.2 <= 1 ;
one_net: +1*net.1 +1*net.2 <= 1 ;
one_console: +1*console.1 <= 1 ;
needs_editor.1_1: +1*gui.1 +1*console.1 -1*editor.1 >= 0 ;
needs_editor.1_2: +1*spell.1 +1*spell.2 -1*editor.1 >= 0 ;
needs_editor.2_1: +1*gui.2 -1*editor.2 >= 0 ;
needs_editor.2_2: +1*spell.2 -1*editor.2 >= 0 ;
needs_mailer.1_1: +1*crypto.2 -1*mailer.1 >= 0 ;
needs_mailer.1_2: +1*net.1 +1*net.2 -1*mailer.1 >= 0 ;
needs_mailer.1_3: +1*gui.1 +1*gui.2 +1*console.1 -1*mailer.1 >= 0 ;
needs_gui.1_1: +1*libc.1 -1*gui.1 >= 0 ;
needs_gui.2_1: +1*libc.2 -1*gui.2 >= 0 ;
needs_console.1_1: +1*libc.1 +1*libc.2 -1*console.1 >= 0 ;
needs_spell.1_1: +1*libc.1 -1*spell.1 >= 0 ;
needs_spell.2_1: +1*libc.1 +1*libc.2 -1*spell.2 >= 0 ;
needs_crypto.1_1: +1*libc.1 -1*crypto.1 >= 0 ;
needs_crypto.2_1: +1*libc.2 -1*crypto.2 >= 0 ;
needs_net.1_1: +1*libc.1 +1*libc.2 -1*net.1 >= 0 ;
needs_net.2_1: +1*libc.1 -1*net.2 >= 0 ;
not_console.1_net.2: +1*console.1 +1*net.2 <= 1 ;
not_spell.2_crypto.1: +1*spell.2 +1*crypto.1 <= 1 ;
