* Kidney exchange. Each pair is a patient with a donor who is willing but does not suit. Pairs exchange
* donors in rings of two or three, whose operations take place at the same time. Each variable is a
* ring, named after its pairs in order of giving; each row says that a pair takes part in one ring at most.
* As many patients as possible shall get a kidney.
* Expected: s OPTIMUM FOUND
* Expected: c optimum objective found = 8
max: +2*Ana_Ben +2*Cleo_Dan +2*Finn_Gita +2*Gita_Hugo +3*Ana_Ben_Cleo +3*Cleo_Dan_Eva +3*Dan_Eva_Finn ;
Ana: +1*Ana_Ben +1*Ana_Ben_Cleo <= 1 ;
Ben: +1*Ana_Ben +1*Ana_Ben_Cleo <= 1 ;
Cleo: +1*Cleo_Dan +1*Ana_Ben_Cleo +1*Cleo_Dan_Eva <= 1 ;
Dan: +1*Cleo_Dan +1*Cleo_Dan_Eva +1*Dan_Eva_Finn <= 1 ;
Eva: +1*Cleo_Dan_Eva +1*Dan_Eva_Finn <= 1 ;
Finn: +1*Finn_Gita +1*Dan_Eva_Finn <= 1 ;
Gita: +1*Finn_Gita +1*Gita_Hugo <= 1 ;
Hugo: +1*Gita_Hugo <= 1 ;
