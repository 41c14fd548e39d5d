; quarv repl --rules-only-standard --no-rules --library-semantics
; Concatenation, extraction, extension, and conversions from and to integers.
(declare-const x (_ BitVec 4))
(declare-const y (_ BitVec 8))
(declare-const i Int)
(simplify (concat #x2 #x3))
; => #x23
(simplify (concat #b0 #b1))
; => #b01
(simplify (concat #xffffffff #x00000000 #b1))
; => #b11111111111111111111111111111111000000000000000000000000000000001
(simplify (concat x #x3))
; => (concat x #x3)
(simplify (concat #x3 x))
; => (concat #x3 x)
(simplify ((_ extract 7 4) #xab))
; => #xa
(simplify ((_ extract 0 0) #x5))
; => #b1
(simplify ((_ extract 7 0) #xab))
; => #xab
(simplify ((_ extract 67 60) #xab0000000000000cd))
; => #xab
(simplify ((_ extract 3 0) x))
; => ((_ extract 3 0) x)
(simplify ((_ extract 3 0) (concat x x)))
; => ((_ extract 3 0) (concat x x))
(simplify ((_ zero_extend 4) #xf))
; => #x0f
(simplify ((_ zero_extend 0) #xf))
; => #xf
(simplify ((_ zero_extend 64) #xf))
; => #x0000000000000000f
(simplify ((_ zero_extend 4) x))
; => ((_ zero_extend 4) x)
(simplify ((_ zero_extend 1) ((_ zero_extend 1) x)))
; => ((_ zero_extend 1) ((_ zero_extend 1) x))
(simplify ((_ sign_extend 4) #xf))
; => #xff
(simplify ((_ sign_extend 4) #x7))
; => #x07
(simplify ((_ sign_extend 0) #x9))
; => #x9
(simplify ((_ sign_extend 64) #x8))
; => #xffffffffffffffff8
(simplify ((_ sign_extend 4) #x80000000000000000))
; => #xf80000000000000000
(simplify ((_ sign_extend 4) x))
; => ((_ sign_extend 4) x)
(simplify ((_ sign_extend 1) ((_ sign_extend 1) x)))
; => ((_ sign_extend 1) ((_ sign_extend 1) x))
(simplify ((_ repeat 1) x))
; => x
(simplify ((_ repeat 3) #b10))
; => #b101010
(simplify ((_ int_to_bv 8) 300))
; => #x2c
(simplify ((_ int_to_bv 8) (- 1)))
; => #xff
(simplify ((_ int_to_bv 8) (- 256)))
; => #x00
(simplify ((_ int_to_bv 8) (- 257)))
; => #xff
(simplify ((_ int_to_bv 8) 0))
; => #x00
(simplify ((_ int2bv 8) 300))
; => #x2c
(simplify ((_ int_to_bv 64) (- 9223372036854775808)))
; => #x8000000000000000
(simplify ((_ int_to_bv 68) (- 9223372036854775809)))
; => #xf7fffffffffffffff
(simplify ((_ int_to_bv 4) 36893488147419103237))
; => #x5
(simplify ((_ int_to_bv 8) i))
; => ((_ int2bv 8) i)
(simplify ((_ int_to_bv 8) (sbv_to_int x)))
; => ((_ sign_extend 4) x)
(simplify ((_ int_to_bv 8) (ubv_to_int x)))
; => ((_ zero_extend 4) x)
(simplify ((_ int_to_bv 8) (sbv_to_int y)))
; => y
(simplify ((_ int_to_bv 8) (ubv_to_int y)))
; => y
(simplify ((_ int_to_bv 4) (ubv_to_int y)))
; => ((_ int2bv 4) (bv2nat y))
(simplify ((_ int_to_bv 4) (sbv_to_int y)))
; => ((_ int2bv 4) (sbv_to_int y))
(simplify ((_ int_to_bv 4) (sbv_to_int x)))
; => x
(simplify (ubv_to_int ((_ int_to_bv 8) i)))
; => (bv2nat ((_ int2bv 8) i))
(simplify (ubv_to_int #xf))
; => 15
(simplify (bv2nat #xf))
; => 15
(simplify (sbv_to_int #xf))
; => (- 1)
(simplify (sbv_to_int #x7))
; => 7
(simplify (sbv_to_int #x8))
; => (- 8)
(simplify (sbv_to_int #b1))
; => (- 1)
(simplify (ubv_to_int #xffffffffffffffff))
; => 18446744073709551615
(simplify (sbv_to_int #x8000000000000000))
; => (- 9223372036854775808)
(simplify (sbv_to_int #x80000000000000000))
; => (- 147573952589676412928)
(simplify (ubv_to_int x))
; => (bv2nat x)
(simplify (sbv_to_int x))
; => (sbv_to_int x)
