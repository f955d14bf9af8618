* Cameras at crossings: every street shall be seen from one of its two ends, at the lowest cost. A variable
* says whether there is a camera at a crossing; each row is a street.
* Expected: s OPTIMUM FOUND
* Expected: c optimum objective found = 17
min: +4*Abbey +3*Bank +5*Castle +2*Dock +3*Elm +4*Forge +2*Guild +6*Hall +3*Inn ;
Abbey_Bank: +1*Abbey +1*Bank >= 1 ;
Bank_Castle: +1*Bank +1*Castle >= 1 ;
Dock_Elm: +1*Dock +1*Elm >= 1 ;
Elm_Forge: +1*Elm +1*Forge >= 1 ;
Guild_Hall: +1*Guild +1*Hall >= 1 ;
Hall_Inn: +1*Hall +1*Inn >= 1 ;
Abbey_Dock: +1*Abbey +1*Dock >= 1 ;
Bank_Elm: +1*Bank +1*Elm >= 1 ;
Castle_Forge: +1*Castle +1*Forge >= 1 ;
Dock_Guild: +1*Dock +1*Guild >= 1 ;
Elm_Hall: +1*Elm +1*Hall >= 1 ;
Forge_Inn: +1*Forge +1*Inn >= 1 ;
Abbey_Elm: +1*Abbey +1*Elm >= 1 ;
Elm_Inn: +1*Elm +1*Inn >= 1 ;
