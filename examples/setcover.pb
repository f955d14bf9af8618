* Fire stations: which sites to build on so that every district is reached in time from a station, at
* the lowest cost. A variable says whether a site is built on; each row is a district.
* Expected: s OPTIMUM FOUND
* Expected: c optimum objective found = 26
min: +9*harbour +7*market +6*station +5*hill +6*mill +8*airport +4*college ;
Docks: +1*harbour +1*market >= 1 ;
OldTown: +1*harbour +1*market +1*station >= 1 ;
Centre: +1*market +1*station +1*college >= 1 ;
Northgate: +1*station +1*hill >= 1 ;
Heights: +1*hill +1*college >= 1 ;
Millbrook: +1*mill +1*college >= 1 ;
Riverside: +1*harbour +1*mill >= 1 ;
Eastfield: +1*mill +1*airport >= 1 ;
Campus: +1*college +1*hill >= 1 ;
Airfield: +1*airport >= 1 ;
Meadows: +1*airport +1*mill +1*station >= 1 ;
