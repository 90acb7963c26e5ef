/* Register layout of the few STM32F4-style peripherals the example uses.
 * Written out by hand so the example builds with nothing but the compiler. */
#ifndef BOARD_H
#define BOARD_H

#include <stdint.h>

typedef struct {
    volatile uint32_t CR;
    volatile uint32_t PLLCFGR;
    volatile uint32_t CFGR;
    volatile uint32_t CIR;
    volatile uint32_t AHB1RSTR;
    volatile uint32_t AHB2RSTR;
    volatile uint32_t AHB3RSTR;
    uint32_t reserved0;
    volatile uint32_t APB1RSTR;
    volatile uint32_t APB2RSTR;
    uint32_t reserved1[2];
    volatile uint32_t AHB1ENR;     /* offset 0x30 */
} rcc_t;

typedef struct {
    volatile uint32_t MODER;       /* 2 bits per pin: 01 = output */
    volatile uint32_t OTYPER;
    volatile uint32_t OSPEEDR;
    volatile uint32_t PUPDR;
    volatile uint32_t IDR;
    volatile uint32_t ODR;
    volatile uint32_t BSRR;        /* low half sets, high half resets */
    volatile uint32_t LCKR;
    volatile uint32_t AFR[2];
} gpio_t;

typedef struct {
    volatile uint32_t CTRL;
    volatile uint32_t LOAD;
    volatile uint32_t VAL;
    volatile const uint32_t CALIB;
} systick_t;

#define RCC     ((rcc_t *)0x40023800u)
#define GPIOD   ((gpio_t *)0x40020C00u)
#define SYSTICK ((systick_t *)0xE000E010u)

#define RCC_AHB1ENR_GPIODEN (1u << 3)

#define SYSTICK_CTRL_ENABLE  (1u << 0)
#define SYSTICK_CTRL_TICKINT (1u << 1)
#define SYSTICK_CTRL_CLKSRC  (1u << 2)

/* The internal RC oscillator the part runs from after reset. */
#define CORE_CLOCK_HZ 16000000u

extern volatile uint32_t g_tick_ms;

void SystemInit(void);
int main(void);

#endif
