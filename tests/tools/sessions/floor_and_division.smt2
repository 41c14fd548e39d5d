; quarv repl --rules-only-standard --no-rules
; floor, div, mod, abs, is_int, and congruences.
(declare-const x Int)
(declare-const y Int)
(declare-const r Real)
(declare-const s Real)
(simplify (to_int 3.5))
; => 3
(simplify (to_int (- 3.5)))
; => (- 4)
(simplify (to_int 5.0))
; => 5
(simplify (to_int (- 5.0)))
; => (- 5)
(simplify (to_int 0.25))
; => 0
(simplify (to_int (- 0.25)))
; => (- 1)
(simplify (to_int (- 9223372036854775807.5)))
; => (- 9223372036854775808)
(simplify (to_int 9223372036854775807.5))
; => 9223372036854775807
(simplify (to_int 36893488147419103233.5))
; => 36893488147419103233
(simplify (to_int (- 36893488147419103233.5)))
; => (- 36893488147419103234)
(simplify (to_int (to_real x)))
; => x
(simplify (to_int r))
; => (to_int r)
(simplify (to_int (+ r s)))
; => (to_int (+ r s))
(simplify (to_int (+ (to_real x) r)))
; => (+ x (to_int r))
(simplify (to_int (+ r (to_real x) (to_real y))))
; => (+ x y (to_int r))
(simplify (to_int (+ (to_real x) 0.5)))
; => x
(simplify (to_int (+ (to_real x) (- 0.5))))
; => (- x 1)
(simplify (to_int (+ (to_real x) (to_real y))))
; => (+ x y)
(simplify (to_real 3))
; => 3
(simplify (to_real (to_int 3.5)))
; => 3
(simplify (is_int 2.0))
; => true
(simplify (is_int 2.5))
; => false
(simplify (is_int (to_real x)))
; => true
(simplify (is_int (+ (to_real x) 0.5)))
; => false
(simplify (is_int r))
; => (= (- r (to_real (to_int r))) 0.0)
(simplify (div 7 2))
; => 3
(simplify (div (- 7) 2))
; => (- 4)
(simplify (div 7 (- 2)))
; => (- 3)
(simplify (div (- 7) (- 2)))
; => 4
(simplify (div (- 9223372036854775808) (- 1)))
; => 9223372036854775808
(simplify (div 18446744073709551617 18446744073709551616))
; => 1
(simplify (div (- 18446744073709551617) 18446744073709551616))
; => (- 2)
(simplify (div 5 0))
; => (div 5 0)
(simplify (div x 0))
; => (div x 0)
(simplify (div x y))
; => (div x y)
(simplify (div x 1))
; => x
(simplify (div x (- 1)))
; => (- x)
(simplify (div 100 7 3))
; => 4
(simplify (div x 3))
; => (div x 3)
(simplify (mod 7 2))
; => 1
(simplify (mod (- 7) 2))
; => 1
(simplify (mod 7 (- 2)))
; => 1
(simplify (mod (- 7) (- 2)))
; => 1
(simplify (mod (- 9223372036854775808) 10))
; => 2
(simplify (mod 18446744073709551617 18446744073709551616))
; => 1
(simplify (mod (- 18446744073709551617) 18446744073709551616))
; => 18446744073709551615
(simplify (mod 5 0))
; => (mod 5 0)
(simplify (mod x 1))
; => (- x x)
(simplify (mod x 0))
; => (mod x 0)
(simplify (mod x 3))
; => (- x (* 3 (div x 3)))
(simplify (abs 5))
; => 5
(simplify (abs (- 5)))
; => 5
(simplify (abs 0))
; => 0
(simplify (abs (- 9223372036854775808)))
; => 9223372036854775808
(simplify (abs x))
; => (ite (<= 0 x) x (- x))
(simplify (abs (- x x)))
; => (- x x)
(simplify ((_ divisible 3) 6))
; => true
(simplify ((_ divisible 3) 7))
; => false
(simplify ((_ divisible 3) (- 6)))
; => true
(simplify ((_ divisible 3) (- 7)))
; => false
(simplify ((_ divisible 3) 0))
; => true
(simplify ((_ divisible 1) 7))
; => true
(simplify ((_ divisible 3) 36893488147419103233))
; => true
(simplify ((_ divisible 3) 36893488147419103234))
; => false
(simplify ((_ divisible 9223372036854775807) 9223372036854775807))
; => true
(simplify ((_ divisible 9223372036854775807) 18446744073709551614))
; => true
(simplify ((_ divisible 9223372036854775808) 9223372036854775808))
; => true
(simplify ((_ divisible 18446744073709551616) 18446744073709551616))
; => true
(simplify ((_ divisible 9223372036854775808) (+ x 18446744073709551617)))
; => (= (mod x 9223372036854775808) 9223372036854775807)
(simplify ((_ divisible 9223372036854775808) (- x 9223372036854775809)))
; => (= (mod x 9223372036854775808) 1)
(simplify ((_ divisible 18446744073709551616) (+ x 1)))
; => (= (mod x 18446744073709551616) 18446744073709551615)
(simplify ((_ divisible 0) x))
; => (error "line 149, column 25: divisible: the index must be positive")
(simplify ((_ divisible 5) (- x x)))
; => true
(simplify ((_ divisible 3) (+ x 6)))
; => (= (mod x 3) 0)
(simplify ((_ divisible 3) (- 4 x)))
; => (= (mod x 3) 1)
(simplify ((_ divisible 3) (+ x 7)))
; => (= (mod x 3) 2)
(simplify ((_ divisible 3) (- 7 x)))
; => (= (mod x 3) 1)
(simplify ((_ divisible 3) (- x 7)))
; => (= (mod x 3) 1)
(simplify ((_ divisible 3) (+ x (* 0 y) 1)))
; => (= (mod x 3) 2)
(simplify ((_ divisible 3) (- (+ x y) (+ y 1))))
; => (= (mod x 3) 1)
(simplify ((_ divisible 3) (+ x 9223372036854775807)))
; => (= (mod x 3) 2)
(simplify ((_ divisible 3) (- x 9223372036854775808)))
; => (= (mod x 3) 2)
(simplify ((_ divisible 3) (+ x 9223372036854775809)))
; => (= (mod x 3) 0)
(simplify ((_ divisible 3) (- x 9223372036854775809)))
; => (= (mod x 3) 0)
(simplify (= (mod x 3) 1))
; => (= (mod x 3) 1)
(simplify (= 1 (mod x 3)))
; => (= (mod x 3) 1)
(simplify (= (mod x 3) 3))
; => false
(simplify (= (mod x 3) (- 1)))
; => false
(simplify (= (mod (+ x 7) 3) 1))
; => (= (mod x 3) 0)
(simplify (= (mod (- 5 x) 3) 0))
; => (= (mod x 3) 2)
(simplify (= (mod x (- 3)) 2))
; => (= (mod x 3) 2)
(simplify (= (mod x 18446744073709551616) 18446744073709551615))
; => (= (mod x 18446744073709551616) 18446744073709551615)
(simplify (= (mod x 18446744073709551616) 18446744073709551616))
; => false
(simplify (= (mod (- x 1) 18446744073709551616) 18446744073709551615))
; => (= (mod x 18446744073709551616) 0)
(simplify (= (mod x 0) 1))
; => (= (mod x 0) 1)
