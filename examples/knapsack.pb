* A hiker packs: at most 9 kg, and as much worth as possible. A variable says
* whether the thing goes into the rucksack; weights in kg in the row, worth in
* the objective. Without a tent no sleeping bag.
* Expected: s OPTIMUM FOUND
* Expected: c optimum objective found = 23
max: +10*tent +6*sleepingbag +5*stove +4*food +3*camera +1*book ;
weight: +4*tent +2*sleepingbag +3*stove +2*food +1*camera +1*book <= 9 ;
shelter: +1*tent -1*sleepingbag >= 0 ;
