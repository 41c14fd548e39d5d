; quarv repl --rules-only-standard --no-rules --library-semantics
; Bitwise operators, shifts by amounts up to the width and beyond it, rotations.
(declare-const x (_ BitVec 4))
(declare-const y (_ BitVec 4))
(simplify (bvand #xc #xa))
; => #x8
(simplify (bvor #xc #xa))
; => #xe
(simplify (bvxor #xc #xa))
; => #x6
(simplify (bvnot #x0))
; => #xf
(simplify (bvnot #xf))
; => #x0
(simplify (bvnot #x00000000000000000))
; => #xfffffffffffffffff
(simplify (bvand #xfffffffffffffffff #x00000000000000001))
; => #x00000000000000001
(simplify (bvxor #xfffffffffffffffff #x80000000000000001))
; => #x7fffffffffffffffe
(simplify (bvand x #x0))
; => (bvand x #x0)
(simplify (bvor x x))
; => (bvor x x)
(simplify (bvxor x x))
; => (bvxor x x)
(simplify (bvnot (bvnot x)))
; => (bvnot (bvnot x))
(simplify (bvand y x))
; => (bvand y x)
(simplify (bvshl #x1 #x3))
; => #x8
(simplify (bvshl #x1 #x4))
; => #x0
(simplify (bvshl #x3 #x3))
; => #x8
(simplify (bvshl #x1 #xf))
; => #x0
(simplify (bvshl #x5 #x0))
; => #x5
(simplify (bvlshr #x8 #x3))
; => #x1
(simplify (bvlshr #xf #x4))
; => #x0
(simplify (bvlshr #xf #xf))
; => #x0
(simplify (bvashr #x8 #x1))
; => #xc
(simplify (bvashr #x8 #x4))
; => #xf
(simplify (bvashr #x8 #x9))
; => #xf
(simplify (bvashr #x7 #x1))
; => #x3
(simplify (bvashr #x7 #x9))
; => #x0
(simplify (bvashr #x8 #x0))
; => #x8
(simplify (bvshl x #x0))
; => (bvshl x #x0)
(simplify (bvlshr x #x4))
; => (bvlshr x #x4)
(simplify (bvashr #x0 x))
; => (bvashr #x0 x)
(simplify (bvshl #x00000000000000001 #x00000000000000043))
; => #x80000000000000000
(simplify (bvshl #x00000000000000001 #x00000000000000044))
; => #x00000000000000000
(simplify (bvshl #x00000000000000001 #x80000000000000000))
; => #x00000000000000000
(simplify (bvlshr #x80000000000000000 #x00000000000000043))
; => #x00000000000000001
(simplify (bvlshr #x80000000000000000 #xfffffffffffffffff))
; => #x00000000000000000
(simplify (bvashr #x80000000000000000 #x00000000000000001))
; => #xc0000000000000000
(simplify (bvashr #x80000000000000000 #x00000000000000044))
; => #xfffffffffffffffff
(simplify (bvashr #x80000000000000000 #xfffffffffffffffff))
; => #xfffffffffffffffff
(simplify (bvashr #x7ffffffffffffffff #xfffffffffffffffff))
; => #x00000000000000000
(simplify (bvashr #x8000000000000000 #x0000000000000002))
; => #xe000000000000000
(simplify (bvashr #x8000000000000000 #xffffffffffffffff))
; => #xffffffffffffffff
(simplify ((_ rotate_left 1) #x9))
; => #x3
(simplify ((_ rotate_right 1) #x9))
; => #xc
(simplify ((_ rotate_left 0) #x9))
; => #x9
(simplify ((_ rotate_left 4) #x9))
; => #x9
(simplify ((_ rotate_left 5) #x9))
; => #x3
(simplify ((_ rotate_right 5) #x9))
; => #xc
(simplify ((_ rotate_left 1000000000) #x9))
; => #x9
(simplify ((_ rotate_left 1000000001) x))
; => ((_ rotate_left 1) x)
(simplify ((_ rotate_right 8) x))
; => ((_ rotate_right 0) x)
(simplify ((_ rotate_left 1) #x80000000000000001))
; => #x00000000000000003
(simplify ((_ rotate_right 1) #x80000000000000001))
; => #xc0000000000000000
(simplify ((_ rotate_left 1) #b1))
; => #b1
